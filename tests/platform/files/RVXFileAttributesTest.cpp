#include <gtest/gtest.h>

#include "platform/files/RVXFileAttributes.h"

namespace {

RVXFileAttributes attributesOf(mode_t mode, ino_t inode, dev_t nodesDevice = 0) {
  struct stat status {};
  status.st_mode = mode | 0644U;
  status.st_size = 5'000'000'000;
  status.st_dev = 7;
  status.st_ino = inode;
  status.st_rdev = nodesDevice;
  return RVXFileAttributes::of(status);
}

}  // namespace

TEST(RVXFileAttributesTest, TypesAndWhichOfThemAreOnStorage) {
  const struct {
    mode_t mode;
    RVXFileType type;
    bool isOnStorage;
  } kinds[] = {{S_IFREG, RVXFileType::regular, true},       {S_IFDIR, RVXFileType::folder, false},
               {S_IFLNK, RVXFileType::symbolicLink, false}, {S_IFIFO, RVXFileType::fifo, false},
               {S_IFBLK, RVXFileType::blockDevice, true},   {S_IFCHR, RVXFileType::other, false},
               {S_IFSOCK, RVXFileType::other, false}};
  for (const auto& kind : kinds) {
    EXPECT_EQ(attributesOf(kind.mode, 8).type, kind.type) << kind.mode;
    EXPECT_EQ(attributesOf(kind.mode, 8).isOnStorage(), kind.isOnStorage) << kind.mode;
  }
}

TEST(RVXFileAttributesTest, SizeAndIdentity) {
  EXPECT_EQ(attributesOf(S_IFREG, 8).size, 5'000'000'000);
  EXPECT_EQ(attributesOf(S_IFREG, 8).identity, (RVXFileIdentity{7, 8}));
}

TEST(RVXFileAttributesTest, NodesOfOneBlockDeviceAreOneFile) {
  const RVXFileIdentity identity = attributesOf(S_IFBLK, 8, 1793).identity;
  EXPECT_EQ(attributesOf(S_IFBLK, 9, 1793).identity, identity);
  EXPECT_NE(attributesOf(S_IFBLK, 8, 1794).identity, identity);
}

#include <gtest/gtest.h>

#include "platform/files/RVXFileAttributes.h"

namespace {

RVXFileType typeOfMode(mode_t mode) {
  struct stat status {};
  status.st_mode = mode | 0644U;
  return attributesFromStatus(status).type;
}

}  // namespace

TEST(RVXFileAttributesTest, Types) {
  EXPECT_EQ(typeOfMode(S_IFREG), RVXFileType::regular);
  EXPECT_EQ(typeOfMode(S_IFDIR), RVXFileType::folder);
  EXPECT_EQ(typeOfMode(S_IFLNK), RVXFileType::symbolicLink);
  EXPECT_EQ(typeOfMode(S_IFIFO), RVXFileType::fifo);
  EXPECT_EQ(typeOfMode(S_IFBLK), RVXFileType::blockDevice);
  for (const unsigned mode : {S_IFCHR + 0U, S_IFSOCK + 0U}) EXPECT_EQ(typeOfMode(mode), RVXFileType::other);
}

TEST(RVXFileAttributesTest, SizeAndIdentity) {
  struct stat status {};
  status.st_size = 5'000'000'000;
  status.st_dev = 7;
  status.st_ino = 8;
  const RVXFileAttributes attributes = attributesFromStatus(status);
  EXPECT_EQ(attributes.size, 5'000'000'000);
  EXPECT_EQ(attributes.identity, (RVXFileIdentity{7, 8}));
}

TEST(RVXFileAttributesTest, NodesOfOneBlockDeviceAreOneFile) {
  struct stat status {};
  status.st_mode = S_IFBLK | 0600;
  status.st_rdev = 1793;
  status.st_dev = 7;
  status.st_ino = 8;
  const RVXFileIdentity identity = attributesFromStatus(status).identity;
  status.st_ino = 9;
  EXPECT_EQ(attributesFromStatus(status).identity, identity);
  status.st_rdev = 1794;
  EXPECT_NE(attributesFromStatus(status).identity, identity);
}

TEST(RVXFileAttributesTest, OnlyRegularFilesAndBlockDevicesAreOnStorage) {
  for (const auto type : {RVXFileType::regular, RVXFileType::blockDevice})
    EXPECT_TRUE((RVXFileAttributes{type, 0, {}}.isOnStorage()));
  for (const auto type :
       {RVXFileType::folder, RVXFileType::symbolicLink, RVXFileType::fifo, RVXFileType::other})
    EXPECT_FALSE((RVXFileAttributes{type, 0, {}}.isOnStorage()));
}

TEST(RVXFileAttributesTest, IdentityIsDeviceAndInode) {
  EXPECT_NE((RVXFileIdentity{7, 8}), (RVXFileIdentity{7, 9}));
  EXPECT_NE((RVXFileIdentity{7, 8}), (RVXFileIdentity{6, 8}));
}

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "include/Print.h"
#include "platform/files/RVXFileSystem.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"

namespace {

namespace fs = std::filesystem;

void expectFailure(const std::optional<RVXIOFailure>& failure, const std::string& name) {
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->name, name);
}

class RVXFileSystemTest : public testing::Test {
 protected:
  TemporaryFolder mFolder;
  std::string mFile = writeFile(mFolder.path("file"), "abc");
};

}  // namespace

TEST_F(RVXFileSystemTest, AttributesOfAFile) {
  const auto attributes = attributesOfItem(mFile).value();
  EXPECT_EQ(attributes.type, RVXFileType::regular);
  EXPECT_EQ(attributes.size, 3);
}

TEST_F(RVXFileSystemTest, AttributesOfOtherItems) {
  EXPECT_EQ(attributesOfItem(mFolder.path()).value().type, RVXFileType::folder);
  EXPECT_EQ(attributesOfItem("/dev/null").value().type, RVXFileType::other);
  EXPECT_FALSE(attributesOfItem(mFolder.path("missing")).has_value());
  EXPECT_FALSE(attributesOfItem("").has_value());
}

TEST_F(RVXFileSystemTest, AttributesOfALinkAreItsOwnOrItsTargets) {
  fs::create_symlink("file", mFolder.path("link"));
  EXPECT_EQ(attributesOfItem(mFolder.path("link")).value().type, RVXFileType::symbolicLink);
  EXPECT_EQ(attributesOfTarget(mFolder.path("link")).value().type, RVXFileType::regular);
  EXPECT_EQ(attributesOfTarget(mFolder.path("link")).value().size, 3);
}

TEST_F(RVXFileSystemTest, LinkToNothingHasNoTarget) {
  fs::create_symlink("nothing", mFolder.path("link"));
  EXPECT_TRUE(attributesOfItem(mFolder.path("link")).has_value());
  EXPECT_FALSE(attributesOfTarget(mFolder.path("link")).has_value());
}

TEST_F(RVXFileSystemTest, IdentityIsTheFilesAndNotThePaths) {
  const auto identity = attributesOfItem(mFile).value().identity;
  fs::create_hard_link(mFile, mFolder.path("hard"));
  fs::create_symlink("file", mFolder.path("link"));
  EXPECT_EQ(attributesOfItem(mFolder.path("hard")).value().identity, identity);
  EXPECT_EQ(attributesOfTarget(mFolder.path("link")).value().identity, identity);
  EXPECT_NE(attributesOfItem(mFolder.path("link")).value().identity, identity);
  EXPECT_NE(attributesOfItem(writeFile(mFolder.path("other"), "abc")).value().identity, identity);
}

TEST_F(RVXFileSystemTest, ExistenceFollowsLinks) {
  fs::create_symlink("file", mFolder.path("link"));
  fs::create_symlink("nothing", mFolder.path("broken"));
  EXPECT_TRUE(fileExists(mFile));
  EXPECT_TRUE(fileExists(mFolder.path()));
  EXPECT_TRUE(fileExists(mFolder.path("link")));
  EXPECT_FALSE(fileExists(mFolder.path("broken")));
  EXPECT_FALSE(fileExists(mFolder.path("missing")));
  EXPECT_FALSE(fileExists(""));
}

TEST_F(RVXFileSystemTest, FolderTestFollowsLinks) {
  fs::create_directory_symlink(mFolder.path(), mFolder.path("link"));
  EXPECT_TRUE(isFolder(mFolder.path()));
  EXPECT_TRUE(isFolder(mFolder.path("link")));
  EXPECT_FALSE(isFolder(mFile));
  EXPECT_FALSE(isFolder(mFolder.path("missing")));
}

TEST_F(RVXFileSystemTest, EmptyPathOfAFolderIsTheCurrentOne) {
  EXPECT_TRUE(isFolder(""));
  EXPECT_FALSE(createFolderWithIntermediates("").has_value());
  EXPECT_FALSE(syncFolder("").has_value());
}

TEST_F(RVXFileSystemTest, FileSizes) {
  EXPECT_EQ(filesizeCFI(mFile), 3U);
  fs::resize_file(mFile, 5'000'000'000);
  EXPECT_EQ(filesizeCFI(mFile), 5'000'000'000U);
  EXPECT_EQ(filesizeCFI(mFolder.path("missing")), 0U);
}

TEST_F(RVXFileSystemTest, FolderIsMadeWithAllIntermediates) {
  for (const char* path : {"a", "b/c/d", "e/f/", "g//h///", "i/./j"}) {
    EXPECT_FALSE(createFolderWithIntermediates(mFolder.path(path)).has_value()) << path;
    EXPECT_TRUE(fs::is_directory(mFolder.path(path))) << path;
  }
}

TEST_F(RVXFileSystemTest, RelativeFolderIsMadeInTheCurrentOne) {
  const ChildEnd end = runInChild([&] {
    fs::current_path(mFolder.path());
    print("%d", createFolderWithIntermediates("a/b").has_value() ? 1 : 0);
  });
  EXPECT_EQ(end.output, "0");
  EXPECT_TRUE(fs::is_directory(mFolder.path("a/b")));
}

TEST_F(RVXFileSystemTest, ExistingFolderIsASuccess) {
  EXPECT_FALSE(createFolderWithIntermediates(mFolder.path()).has_value());
  EXPECT_FALSE(createFolderWithIntermediates(mFolder.path() + "/").has_value());
  EXPECT_FALSE(createFolderWithIntermediates("/").has_value());
}

TEST_F(RVXFileSystemTest, LinkToAFolderIsASuccess) {
  mFolder.folder("real");
  fs::create_directory_symlink("real", mFolder.path("link"));
  EXPECT_FALSE(createFolderWithIntermediates(mFolder.path("link")).has_value());
  EXPECT_FALSE(createFolderWithIntermediates(mFolder.path("link/new")).has_value());
  EXPECT_TRUE(fs::is_directory(mFolder.path("real/new")));
}

TEST_F(RVXFileSystemTest, FileInTheWayOfAFolderFails) {
  expectFailure(createFolderWithIntermediates(mFile), "EEXIST");
  EXPECT_TRUE(createFolderWithIntermediates(mFile + "/a/b").has_value());
  EXPECT_EQ(readFile(mFile), "abc");
}

TEST_F(RVXFileSystemTest, NameThatIsTooLongFails) {
  expectFailure(createFolderWithIntermediates(mFolder.path(std::string(256, 'x'))), "ENAMETOOLONG");
}

TEST_F(RVXFileSystemTest, NewFolderHasThePermissionsThatTheUmaskLeaves) {
  const mode_t before = ::umask(027);
  createFolderWithIntermediates(mFolder.path("new"));
  ::umask(before);
  struct stat status {};
  ASSERT_EQ(::stat(mFolder.path("new").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0750U);
}

TEST_F(RVXFileSystemTest, SyncOfAFolder) {
  EXPECT_FALSE(syncFolder(mFolder.path()).has_value());
  EXPECT_FALSE(syncFolder("/dev/shm").has_value());
  EXPECT_FALSE(syncFolder("/proc").has_value());  // has no sync
}

// A drop box: whoever may not list it can't open it either.
TEST_F(RVXFileSystemTest, FolderThatCantBeReadIsSyncedWithEverythingElse) {
  const ChildEnd end = runInChild([&] {
    constexpr uid_t kNobody = 65534;
    if (::geteuid() == 0 &&
        (::chown(mFolder.path().c_str(), kNobody, kNobody) != 0 || ::setuid(kNobody) != 0)) {
      return;
    }
    ::chmod(mFolder.path().c_str(), 0333);
    const bool canBeRead = ::open(mFolder.path().c_str(), O_RDONLY | O_CLOEXEC) >= 0;
    const bool hasFailed = syncFolder(mFolder.path()).has_value();
    ::chmod(mFolder.path().c_str(), 0700);
    print("%s, %s", canBeRead ? "readable" : "not readable", hasFailed ? "failed" : "synced");
  });
  EXPECT_EQ(end.output, "not readable, synced");
}

TEST_F(RVXFileSystemTest, SyncOfWhatIsNoFolderFails) {
  expectFailure(syncFolder(mFolder.path("missing")), "ENOENT");
  expectFailure(syncFolder(mFile), "ENOTDIR");
}

TEST_F(RVXFileSystemTest, FolderEntriesAreSorted) {
  for (const char* name : {"b", "a", ".hidden", "c"}) mFolder.folder(name);
  EXPECT_EQ(folderEntries(mFolder.path()), (std::vector<std::string>{".hidden", "a", "b", "c", "file"}));
}

TEST_F(RVXFileSystemTest, FolderThatCantBeListedHasNoEntries) {
  EXPECT_TRUE(folderEntries(mFolder.path("missing")).empty());
  EXPECT_TRUE(folderEntries(mFile).empty());
  EXPECT_TRUE(folderEntries(mFolder.folder("empty")).empty());
}

TEST_F(RVXFileSystemTest, LinkTargetIsTheStoredText) {
  for (const std::string& target :
       {std::string("../a//b/./c"), std::string("\xFF %s"), std::string(4095, 't')}) {
    fs::remove(mFolder.path("link"));
    EXPECT_FALSE(createSymbolicLink(target, mFolder.path("link")).has_value());
    EXPECT_EQ(linkTarget(mFolder.path("link")), target);
    EXPECT_EQ(fs::read_symlink(mFolder.path("link")), target);
  }
}

TEST_F(RVXFileSystemTest, WhatIsNoLinkHasNoTarget) {
  EXPECT_FALSE(linkTarget(mFile).has_value());
  EXPECT_FALSE(linkTarget(mFolder.path("missing")).has_value());
}

TEST_F(RVXFileSystemTest, LinkIsNotMadeOverAnything) {
  fs::create_symlink("nothing", mFolder.path("link"));
  expectFailure(createSymbolicLink("new", mFile), "EEXIST");
  expectFailure(createSymbolicLink("new", mFolder.path("link")), "EEXIST");
  expectFailure(createSymbolicLink("new", mFolder.path("missing/link")), "ENOENT");
  EXPECT_EQ(fs::read_symlink(mFolder.path("link")), "nothing");
}

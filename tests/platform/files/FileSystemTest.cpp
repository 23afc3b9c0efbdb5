#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/Outcomes.h"

namespace {

namespace fs = std::filesystem;

// As a word; the failure where there is none.
std::string typeOf(const RVXOutcome<RVXFileAttributes>& attributes) {
  if (attributes.failed()) return failureOf(attributes);
  switch (attributes.value().type) {
    case RVXFileType::regular:
      return "file";
    case RVXFileType::folder:
      return "folder";
    case RVXFileType::symbolicLink:
      return "link";
    default:
      return "other";
  }
}

class FileSystemTest : public testing::Test {
 protected:
  TemporaryFolder mFolder;
  std::string mFile = writeFile(mFolder.path("file"), "abc");
};

}  // namespace

TEST_F(FileSystemTest, PathsAreExaminedThemselvesOrByWhatTheyLeadTo) {
  fs::create_symlink("file", mFolder.path("link"));
  fs::create_directory_symlink(mFolder.path(), mFolder.path("folder link"));
  fs::create_symlink("nothing", mFolder.path("broken"));
  const std::string missing = "ENOENT";
  const struct {
    std::string path;
    std::string item;  // the type, or the failure
    std::string target;
  } cases[] = {{mFile, "file", "file"},
               {mFolder.path(), "folder", "folder"},
               {"/dev/null", "other", "other"},
               {mFolder.path("link"), "link", "file"},
               {mFolder.path("folder link"), "link", "folder"},
               {mFolder.path("broken"), "link", missing},
               {mFolder.path("missing"), missing, missing},
               {mFolder.path("file/x"), "ENOTDIR", "ENOTDIR"}};
  for (const auto& example : cases) {
    EXPECT_EQ(typeOf(attributesOfItem(example.path)), example.item) << example.path;
    EXPECT_EQ(typeOf(attributesOfTarget(example.path)), example.target) << example.path;
    EXPECT_EQ(isSymbolicLink(example.path), example.item == "link") << example.path;
    EXPECT_EQ(isFolder(example.path), example.target == "folder") << example.path;
    EXPECT_EQ(fileExists(example.path), example.target.front() != 'E') << example.path;
  }
}

TEST_F(FileSystemTest, SameFileIsTheItemOrWhatThePathLeadsTo) {
  const auto identity = attributesOfItem(mFile).value().identity;
  fs::create_hard_link(mFile, mFolder.path("hard"));
  fs::create_symlink("file", mFolder.path("link"));
  writeFile(mFolder.path("other"), "abc");
  const struct {
    const char* name;
    bool isItem;
    bool leadsTo;
  } cases[] = {{"file", true, true},
               {"hard", true, true},
               {"link", false, true},
               {"other", false, false},
               {"missing", false, false}};
  for (const auto& example : cases) {
    EXPECT_EQ(isItem(mFolder.path(example.name), identity), example.isItem) << example.name;
    EXPECT_EQ(leadsTo(mFolder.path(example.name), identity), example.leadsTo) << example.name;
    EXPECT_FALSE(isItem(mFolder.path(example.name), std::nullopt)) << example.name;
    EXPECT_FALSE(leadsTo(mFolder.path(example.name), std::nullopt)) << example.name;
  }
}

TEST_F(FileSystemTest, FileSizes) {
  fs::resize_file(mFile, 5'000'000'000);
  fs::create_symlink("file", mFolder.path("link"));
  EXPECT_EQ(filesizeCFI(mFile), 5'000'000'000U);
  EXPECT_EQ(filesizeCFI(mFolder.path("link")), 4U);
  EXPECT_EQ(filesizeCFI(mFolder.path("missing")), 0U);
}

TEST_F(FileSystemTest, EmptyPathIsTheCurrentFolderAndNoFile) {
  EXPECT_TRUE(isFolder(""));
  EXPECT_TRUE(createFolderWithIntermediates("").succeeded());
  EXPECT_TRUE(syncFolder("").succeeded());
  EXPECT_FALSE(fileExists(""));
}

TEST_F(FileSystemTest, FolderIsMadeWithAllIntermediates) {
  mFolder.folder("real");
  fs::create_directory_symlink("real", mFolder.path("link"));
  for (const char* path : {"", "/", "a", "a", "b/c/d", "e/f/", "g//h///", "i/./j", "link", "link/new"}) {
    EXPECT_TRUE(createFolderWithIntermediates(mFolder.path(path)).succeeded()) << path;
    EXPECT_TRUE(fs::is_directory(mFolder.path(path))) << path;
  }
  EXPECT_TRUE(fs::is_directory(mFolder.path("real/new")));
  EXPECT_TRUE(createFolderWithIntermediates("/").succeeded());
}

TEST_F(FileSystemTest, FolderThatCantBeMadeFails) {
  EXPECT_EQ(failureOf(createFolderWithIntermediates(mFile)), "EEXIST");
  EXPECT_EQ(failureOf(createFolderWithIntermediates(mFile + "/a/b")), "EEXIST");
  EXPECT_EQ(failureOf(createFolderWithIntermediates(mFolder.path(std::string(256, 'x')))), "ENAMETOOLONG");
  std::string deepPath = mFolder.path();
  for (int i = 0; i < 1000000; ++i) deepPath += "/x";  // as many calls would overflow the stack
  EXPECT_EQ(failureOf(createFolderWithIntermediates(deepPath)), "ENAMETOOLONG");
  EXPECT_EQ(readFile(mFile), "abc");
}

TEST_F(FileSystemTest, SyncOfAFolder) {
  EXPECT_TRUE(syncFolder(mFolder.path()).succeeded());
  EXPECT_TRUE(syncFolder("/proc").succeeded());  // has no sync
  EXPECT_EQ(failureOf(syncFolder(mFolder.path("missing"))), "ENOENT");
  EXPECT_EQ(failureOf(syncFolder(mFile)), "ENOTDIR");
}

// A drop box: whoever may not list it can't open it either.
TEST_F(FileSystemTest, FolderThatCantBeReadIsSyncedWithEverythingElse) {
  const ChildEnd end = runInChild([&] {
    constexpr uid_t kNobody = 65534;
    if (::geteuid() == 0 &&
        (::chown(mFolder.path().c_str(), kNobody, kNobody) != 0 || ::setuid(kNobody) != 0)) {
      return;
    }
    ::chmod(mFolder.path().c_str(), 0333);
    const bool canBeRead = ::open(mFolder.path().c_str(), O_RDONLY | O_CLOEXEC) >= 0;
    const bool hasFailed = syncFolder(mFolder.path()).failed();
    ::chmod(mFolder.path().c_str(), 0700);
    print("%s, %s", canBeRead ? "readable" : "not readable", hasFailed ? "failed" : "synced");
  });
  EXPECT_EQ(end.output, "not readable, synced");
}

TEST_F(FileSystemTest, FolderIsReadWithTheOwnTypeOfEachEntry) {
  fs::create_directory(mFolder.path("folder"));
  fs::create_symlink("folder", mFolder.path("link"));
  ::mkfifo(mFolder.path("fifo").c_str(), 0600);
  std::map<std::string, RVXFileType> found;
  const auto take = [&](const char* name, RVXFileType type) { found[name] = type; };
  EXPECT_TRUE(readFolder(mFolder.path(), take).succeeded());
  const std::map<std::string, RVXFileType> expected = {{"file", RVXFileType::regular},
                                                       {"folder", RVXFileType::folder},
                                                       {"link", RVXFileType::symbolicLink},
                                                       {"fifo", RVXFileType::fifo}};
  EXPECT_EQ(found, expected);
}

TEST_F(FileSystemTest, FolderThatCantBeListedIsAFailure) {
  const auto ignore = [](const char*, RVXFileType) {};
  EXPECT_EQ(failureOf(readFolder("/nowhere", ignore)), "ENOENT");
  EXPECT_EQ(failureOf(readFolder("/dev/null", ignore)), "ENOTDIR");
  EXPECT_TRUE(readFolder("", ignore).succeeded());
}

TEST_F(FileSystemTest, FolderEntriesAreSorted) {
  for (const char* name : {"b", "a", ".hidden", "c"}) mFolder.folder(name);
  EXPECT_EQ(folderEntries(mFolder.path()), (std::vector<std::string>{".hidden", "a", "b", "c", "file"}));
  for (const char* name : {"missing", "file", "a"}) EXPECT_TRUE(folderEntries(mFolder.path(name)).empty());
}

TEST_F(FileSystemTest, LinkTargetIsTheStoredText) {
  for (const std::string& target :
       {std::string("../a//b/./c"), std::string("\xFF %s"), std::string(4095, 't')}) {
    fs::remove(mFolder.path("link"));
    EXPECT_TRUE(createSymbolicLink(target, mFolder.path("link")).succeeded());
    EXPECT_EQ(linkTarget(mFolder.path("link")).value(), target);
    EXPECT_EQ(fs::read_symlink(mFolder.path("link")), target);
  }
  EXPECT_EQ(failureOf(linkTarget(mFile)), "EINVAL");
}

TEST_F(FileSystemTest, LinkIsNotMadeOverAnything) {
  fs::create_symlink("nothing", mFolder.path("link"));
  EXPECT_EQ(failureOf(createSymbolicLink("new", mFile)), "EEXIST");
  EXPECT_EQ(failureOf(createSymbolicLink("new", mFolder.path("link"))), "EEXIST");
  EXPECT_EQ(failureOf(createSymbolicLink("new", mFolder.path("missing/link"))), "ENOENT");
  EXPECT_EQ(fs::read_symlink(mFolder.path("link")), "nothing");
}

TEST_F(FileSystemTest, RealPathHasNoLinks) {
  fs::create_symlink("/usr/bin/../share", mFolder.path("link"));
  EXPECT_EQ(realPath(mFolder.path("link")), "/usr/share");
  EXPECT_EQ(realPath("/nowhere/at/all"), std::nullopt);
}

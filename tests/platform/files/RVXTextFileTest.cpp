#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "include/Print.h"
#include "platform/files/RVXTextFile.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"

namespace {

namespace fs = std::filesystem;

class RVXTextFileTest : public testing::Test {
 protected:
  TemporaryFolder mFolder;
  std::string mFile = mFolder.path("file");
};

// Both ways of writing.
class RVXTextFileWriteTest : public RVXTextFileTest, public testing::WithParamInterface<bool> {
 protected:
  void expectWritten(const std::string& text) {
    EXPECT_FALSE(writeTextFile(mFile, text, GetParam()).has_value());
    EXPECT_TRUE(readFile(mFile) == text);
    EXPECT_EQ(entryCount(mFolder.path()), 1U);
  }
};

}  // namespace

TEST_F(RVXTextFileTest, ReadsTheWholeFile) {
  for (const size_t size : {0U, 1U, 65535U, 65536U, 65537U, 200000U}) {
    const auto text = readTextFile(writeFile(mFile, patternBytes(size)));
    ASSERT_TRUE(text.has_value());
    EXPECT_TRUE(*text == patternBytes(size)) << size;
  }
}

TEST_F(RVXTextFileTest, ReadsFilesThatTellNoSize) {
  const auto text = readTextFile("/proc/self/status");
  ASSERT_TRUE(text.has_value());
  EXPECT_TRUE(text->starts_with("Name:"));
}

TEST_F(RVXTextFileTest, FileThatCantBeReadGivesNothing) {
  EXPECT_FALSE(readTextFile(mFolder.path("missing")).has_value());
  EXPECT_FALSE(readTextFile(mFolder.path()).has_value());
  EXPECT_FALSE(readTextFile("").has_value());
}

TEST_P(RVXTextFileWriteTest, NewFile) {
  expectWritten("one\ntwo\n");
}

TEST_P(RVXTextFileWriteTest, EmptyText) {
  expectWritten("");
}

TEST_P(RVXTextFileWriteTest, LongText) {
  expectWritten(patternBytes(1000000));
}

TEST_P(RVXTextFileWriteTest, ExistingFileIsReplaced) {
  writeFile(mFile, std::string(10000, 'x'));
  expectWritten("short");
}

TEST_P(RVXTextFileWriteTest, LongestNameIsWritten) {
  mFile = mFolder.path(std::string(255, 'n'));
  expectWritten("text");
}

TEST_P(RVXTextFileWriteTest, RelativeNameIsInTheCurrentFolder) {
  const ChildEnd end = runInChild([&] {
    fs::current_path(mFolder.path());
    print("%d", writeTextFile("file", "text", GetParam()).has_value() ? 1 : 0);
  });
  EXPECT_EQ(end.output, "0");
  EXPECT_EQ(readFile(mFile), "text");
}

TEST_P(RVXTextFileWriteTest, MissingFolderFails) {
  const auto failure = writeTextFile(mFolder.path("missing/file"), "text", GetParam());
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->name, "ENOENT");
}

TEST_P(RVXTextFileWriteTest, FolderInTheWayFailsAndNothingIsLeftBehind) {
  mFolder.folder("file");
  const auto failure = writeTextFile(mFile, "text", GetParam());
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->name, "EISDIR");
  EXPECT_EQ(entryCount(mFolder.path()), 1U);
}

TEST_P(RVXTextFileWriteTest, EmptyPathFailsAndNothingIsLeftBehind) {
  const ChildEnd end = runInChild([&] {
    fs::current_path(mFolder.path());
    print("%d", writeTextFile("", "text", GetParam()).has_value() ? 1 : 0);
  });
  EXPECT_EQ(end.output, "1");
  EXPECT_EQ(entryCount(mFolder.path()), 0U);
}

TEST_P(RVXTextFileWriteTest, PermissionsAreThoseThatTheUmaskLeaves) {
  const mode_t before = ::umask(027);
  writeTextFile(mFile, "text", GetParam());
  ::umask(before);
  struct stat status {};
  ASSERT_EQ(::stat(mFile.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_P(RVXTextFileWriteTest, EverythingIsClosed) {
  const size_t before = entryCount("/proc/self/fd");
  writeTextFile(mFile, "text", GetParam());
  EXPECT_EQ(entryCount("/proc/self/fd"), before);
}

INSTANTIATE_TEST_SUITE_P(Write, RVXTextFileWriteTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "Atomically" : "InPlace"; });

TEST_F(RVXTextFileTest, AtomicWriteIsANewFile) {
  writeFile(mFile, "old");
  fs::create_hard_link(mFile, mFolder.path("other name"));
  EXPECT_FALSE(writeTextFile(mFile, "new", true).has_value());
  EXPECT_EQ(readFile(mFile), "new");
  EXPECT_EQ(readFile(mFolder.path("other name")), "old");
}

TEST_F(RVXTextFileTest, WriteInPlaceIsTheSameFile) {
  writeFile(mFile, "old");
  fs::create_hard_link(mFile, mFolder.path("other name"));
  EXPECT_FALSE(writeTextFile(mFile, "new", false).has_value());
  EXPECT_EQ(readFile(mFolder.path("other name")), "new");
}

TEST_F(RVXTextFileTest, OtherFilesOfTheFolderAreNotTouched) {
  const std::string left = mFolder.path(".rvxcopy-" + std::to_string(::getpid()) + "-0.tmp");
  writeFile(left, "left by another run");
  EXPECT_FALSE(writeTextFile(mFile, "new", true).has_value());
  EXPECT_EQ(readFile(left), "left by another run");
  EXPECT_EQ(readFile(mFile), "new");
}

TEST_F(RVXTextFileTest, FullDeviceFails) {
  const auto failure = writeTextFile("/dev/full", "text", false);
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->name, "ENOSPC");
}

#include <gtest/gtest.h>

#include <filesystem>

#include "include/Print.h"
#include "platform/files/TextFile.h"
#include "tests/platform/files/FileTest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Outcomes.h"

namespace {

namespace fs = std::filesystem;

using TextFileTest = FileTest;

// Both ways of writing.
class TextFileWriteTest : public TextFileTest, public testing::WithParamInterface<bool> {
 protected:
  void expectWritten(const std::string& text) {
    EXPECT_TRUE(writeTextFile(mFile, text, GetParam()).succeeded());
    EXPECT_TRUE(readFile(mFile) == text);
    EXPECT_EQ(entryCount(mFolder.path()), 1U);
  }
};

}  // namespace

TEST_F(TextFileTest, ReadsTheWholeFile) {
  for (const size_t size : {0U, 1U, 65535U, 65536U, 65537U, 200000U}) {
    const auto text = readTextFile(writeFile(mFile, patternBytes(size)));
    EXPECT_TRUE(text.value() == patternBytes(size)) << size;
  }
}

TEST_F(TextFileTest, ReadsFilesThatTellNoSize) {
  EXPECT_TRUE(readTextFile("/proc/self/status").value().starts_with("Name:"));
}

TEST_F(TextFileTest, FileThatCantBeReadGivesNothing) {
  EXPECT_EQ(failureOf(readTextFile(mFolder.path("missing"))), "ENOENT");
  EXPECT_EQ(failureOf(readTextFile(mFolder.path())), "EISDIR");
}

TEST_P(TextFileWriteTest, TextsOfEveryLengthAreWrittenAndReplaced) {
  const size_t before = entryCount("/proc/self/fd");
  for (const size_t size : {0U, 9U, 5000000U, 5U}) expectWritten(patternBytes(size));
  EXPECT_EQ(entryCount("/proc/self/fd"), before);
}

TEST_P(TextFileWriteTest, RelativeNameIsInTheCurrentFolderAndNoneFails) {
  const ChildEnd end = runInChild([&] {
    fs::current_path(mFolder.path());
    for (const char* path : {"file", ""})
      print("%s ", failureOf(writeTextFile(path, "text", GetParam())).c_str());
  });
  EXPECT_EQ(end.output, "none ENOENT ");
  EXPECT_EQ(readFile(mFile), "text");
  EXPECT_EQ(entryCount(mFolder.path()), 1U);
}

TEST_P(TextFileWriteTest, MissingFolderFails) {
  EXPECT_EQ(failureOf(writeTextFile(mFolder.path("missing/file"), "text", GetParam())), "ENOENT");
}

TEST_P(TextFileWriteTest, FolderInTheWayFailsAndNothingIsLeftBehind) {
  mFolder.folder("file");
  EXPECT_EQ(failureOf(writeTextFile(mFile, "text", GetParam())), "EISDIR");
  EXPECT_EQ(entryCount(mFolder.path()), 1U);
}

TEST_P(TextFileWriteTest, OnlyAnAtomicWriteIsANewFile) {
  fs::create_hard_link(writeFile(mFile, "old"), mFolder.path("other name"));
  EXPECT_TRUE(writeTextFile(mFile, "new", GetParam()).succeeded());
  EXPECT_EQ(readFile(mFile), "new");
  EXPECT_EQ(readFile(mFolder.path("other name")), GetParam() ? "old" : "new");
}

INSTANTIATE_TEST_SUITE_P(Write, TextFileWriteTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "Atomically" : "InPlace"; });

TEST_F(TextFileTest, OtherFilesOfTheFolderAreNotTouched) {
  const std::string left = mFolder.path(".rvxcopy-" + std::to_string(::getpid()) + "-0.tmp");
  writeFile(left, "left by another run");
  EXPECT_TRUE(writeTextFile(mFile, "new", true).succeeded());
  EXPECT_EQ(readFile(left), "left by another run");
  EXPECT_EQ(readFile(mFile), "new");
}

TEST_F(TextFileTest, FullDeviceFails) {
  EXPECT_EQ(failureOf(writeTextFile("/dev/full", "text", false)), "ENOSPC");
}

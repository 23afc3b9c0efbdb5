#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>

#include "formats/RVXHashList.h"
#include "include/Print.h"
#include "tests/support/Files.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Text.h"

namespace {

const std::string kMD5 = "900150983cd24fb0d6963f7d28e17f72";
const std::string kOtherMD5 = "f96b697d7cb7938d525a2f31aaf161d0";
const std::string kSHA1 = "a9993e364706816aba3e25717850c26c9cd0d89d";

class RVXHashListTest : public testing::Test {
 protected:
  RVXHashListTest() { ::setenv("USER", "anna", 1); }
  ~RVXHashListTest() override { ::unsetenv("USER"); }

  [[nodiscard]] std::string listPath() const { return mFolder.path("list"); }

  // The written text; the list has to be writable.
  std::string written(RVXHashList list) {
    EXPECT_TRUE(list.writeToFile(listPath(), true));
    return readFile(listPath());
  }

  std::optional<RVXHashList> readText(const std::string& text) {
    return RVXHashList::initWithPath(writeFile(listPath(), text));
  }

  TemporaryFolder mFolder;
};

// The lines after the header.
std::vector<std::string> entryLinesOf(const std::string& text) {
  std::vector<std::string> lines = linesOf(text);
  EXPECT_GE(lines.size(), 2U);
  lines.erase(lines.begin(), lines.begin() + 2);
  return lines;
}

}  // namespace

TEST_F(RVXHashListTest, ComputerWithoutANameIsAnUnknownHost) {
  if (!OtherRoot::isAllowed()) GTEST_SKIP() << "to change the root folder needs root";
  const OtherRoot root;
  const std::string text = root.outputOf([] {
    if (::unshare(CLONE_NEWUTS) != 0 || ::sethostname("", 0) != 0) return;
    RVXHashList::init().writeToFile("/list", true);
    print("%s", readFile("/list").c_str());
  });
  EXPECT_TRUE(text.starts_with("# hash created by rvxvscopy by anna on unknown-hostname 2")) << text;
}

TEST_F(RVXHashListTest, UserThatIsNotSetIsAQuestionMarkAndAnEmptyOneStaysEmpty) {
  ::setenv("USER", "", 1);
  EXPECT_TRUE(written(RVXHashList::init()).starts_with("# hash created by rvxvscopy by  on "));
  ::unsetenv("USER");
  EXPECT_TRUE(written(RVXHashList::init()).starts_with("# hash created by rvxvscopy by ? on "));
}

TEST_F(RVXHashListTest, OriginalFilesUnsetBecomeAQuestionMarkWhenTheListIsWritten) {
  auto list = RVXHashList::init();
  bool isWritten = true;
  EXPECT_EQ(outputOf([&] { isWritten = list.writeToFile({}, true); }),
            "ERROR: can't write hashfile to empty path");
  EXPECT_FALSE(isWritten);
  EXPECT_FALSE(list.originalFiles().has_value());
  ASSERT_TRUE(list.writeToFile(listPath(), true));
  EXPECT_EQ(linesOf(readFile(listPath())).at(1), "# original file(s): ? ");
  EXPECT_EQ(list.originalFiles(), "?");
}

TEST_F(RVXHashListTest, EntriesAreWrittenInTheOrderOfTheirNames) {
  auto list = RVXHashList::init();
  list.addHash(kSHA1, "SHA1", "../clip_0002.dpx");
  list.addHash(kMD5, "MD5", "../clip_0001.dpx");
  list.addHash("12:34", "SHA1", "../has a colon too many");
  list.addHash(kSHA1, "SHA:1", "../another one");
  list.addHash(kSHA1, "SHA1", "../c:d");
  list.addHash("", "SHA1", "../empty digest");
  list.addHash(kMD5, "MD5", "../100%d.mov");
  list.addHash(kMD5, "MD5", "..//a/");  // nothing is standardized
  list.addHash(kMD5, "MD5", "../replaced");
  list.addHash(kSHA1, "SHA1", "../replaced");
  const std::vector<std::string> lines = {
      "MD5(..//a/)= " + kMD5,           "MD5(../100%d.mov)= " + kMD5,       "SHA1(../c:d)= " + kSHA1,
      "MD5(../clip_0001.dpx)= " + kMD5, "SHA1(../clip_0002.dpx)= " + kSHA1, "SHA1(../empty digest)= ",
      "SHA1(../replaced)= " + kSHA1};
  for (const bool atomically : {true, false, true}) {
    writeFile(listPath(), std::string(10000, 'x'));
    ASSERT_TRUE(list.writeToFile(listPath(), atomically));
    EXPECT_EQ(entryLinesOf(readFile(listPath())), lines);
    EXPECT_TRUE(readFile(listPath()).ends_with("\n"));
    EXPECT_EQ(entryCount(mFolder.path()), 1U);
  }
}

TEST_F(RVXHashListTest, NamesAreComparedExactlyAndNothingIsChecked) {
  auto list = RVXHashList::init();
  EXPECT_FALSE(list.hashStringForFile("../a").has_value());
  list.addHash("no digest", "NO LABEL", "../clip.mov");
  EXPECT_EQ(list.hashStringForFile("../clip.mov"), "NO LABEL:no digest");
  for (const char* name : {"../CLIP.MOV", "clip.mov", "..//clip.mov"}) {
    EXPECT_FALSE(list.hashStringForFile(name).has_value()) << name;
  }
  EXPECT_TRUE(list.filePaths().empty());
}

TEST_F(RVXHashListTest, CommentsAndEmptyLinesAreSkipped) {
  const auto list = readText("# a comment\n\n#\n\nMD5(b)= " + kOtherMD5 + "\n   MD5(a)= " + kMD5).value();
  EXPECT_EQ(list.filePaths(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(list.hashStringForFile("a"), "MD5:" + kMD5);
  EXPECT_FALSE(list.originalFiles().has_value());
  EXPECT_TRUE(readText("").value().filePaths().empty());
}

TEST_F(RVXHashListTest, LaterLineOfTheSameStandardizedNameWins) {
  const auto list = readText("MD5(/x/./a)= " + kMD5 + "\nMD5(/x//a/)= " + kOtherMD5 + "\n").value();
  EXPECT_EQ(list.filePaths(), std::vector<std::string>{"/x/a"});
  EXPECT_EQ(list.hashStringForFile("/x/a"), "MD5:" + kOtherMD5);
}

TEST_F(RVXHashListTest, WhatCantBeReadIsNoList) {
  writeFile(listPath(), "# \xFF\nMD5(a)= " + kMD5 + "\n");
  for (const std::string& path : {mFolder.path("missing"), mFolder.path(), listPath()}) {
    bool isNothing = false;
    EXPECT_EQ(outputOf([&] { isNothing = !RVXHashList::initWithPath(path).has_value(); }),
              "ERROR: couldn't read hash file " + path + ".\n");
    EXPECT_TRUE(isNothing);
  }
}

TEST_F(RVXHashListTest, FirstLineThatCantBeParsedIsToldAndNothingIsRead) {
  const std::string entry = "MD5(a)= " + kMD5;
  const std::vector<std::pair<std::string, std::pair<int, std::string>>> rows = {
      {"# one\r\n# two\r\n" + entry + "\r\n" + entry + "\n", {3, entry + "\r"}},
      {"# one\r\n\r\n", {2, "\r"}},
      {" # a comment\n", {1, " # a comment"}},
      {"%s%n%d\n", {1, "%s%n%d"}},
      {entry + "\n" + entry + "\nbad\nworse\n", {3, "bad"}}};
  for (const auto& [text, failure] : rows) {
    bool isNothing = false;
    EXPECT_EQ(outputOf([&, &text = text] { isNothing = !readText(text).has_value(); }),
              "ERROR: couldn't parse hash file in line #" + std::to_string(failure.first) + ": " +
                  failure.second + "\n");
    EXPECT_TRUE(isNothing) << text;
  }
}

TEST_F(RVXHashListTest, FirstAddTakesOverWhatWasRead) {
  auto list = readText("MD5(a)= " + kMD5 + "\nMD5(c)= " + kMD5 + "\n").value();
  EXPECT_TRUE(entryLinesOf(written(list)).empty());
  list.addHash(kSHA1, "SHA1", "b");
  list.addHash(kSHA1, "SHA1", "a");
  EXPECT_EQ(list.filePaths(), (std::vector<std::string>{"a", "c"}));
  EXPECT_EQ(list.hashStringForFile("a"),
            "MD5:" + kMD5);  // the read one hides the added one, which is written
  EXPECT_EQ(entryLinesOf(written(list)),
            (std::vector<std::string>{"SHA1(a)= " + kSHA1, "SHA1(b)= " + kSHA1, "MD5(c)= " + kMD5}));
}

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

#include "formats/RVXHashList.h"
#include "include/Print.h"
#include "tests/support/Files.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Text.h"
#include "tests/support/Tools.h"

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

  // Reads a text that must be refused and returns what is printed.
  std::string refusal(const std::string& text) {
    bool isNothing = false;
    const std::string output = outputOf([&] { isNothing = !readText(text).has_value(); });
    EXPECT_TRUE(isNothing) << text;
    return output;
  }

  static std::string parseFailure(int number, const std::string& line) {
    return "ERROR: couldn't parse hash file in line #" + std::to_string(number) + ": " + line + "\n";
  }

  TemporaryFolder mFolder;
};

// The lines behind the header.
std::vector<std::string> entryLinesOf(const std::string& text) {
  std::vector<std::string> lines = linesOf(text);
  EXPECT_GE(lines.size(), 2U);
  lines.erase(lines.begin(), lines.begin() + 2);
  return lines;
}

}  // namespace

TEST_F(RVXHashListTest, NoEntriesWriteTheTwoHeaderLinesOnly) {
  const std::string text = written(RVXHashList::init());
  EXPECT_EQ(linesOf(text).size(), 2U);
  EXPECT_EQ(text.back(), '\n');
}

TEST_F(RVXHashListTest, FirstHeaderLineNamesUserComputerAndTime) {
  ::setenv("TZ", "XYZ-5:30", 1);  // far from UTC
  ::tzset();
  const std::time_t before = std::time(nullptr);
  const std::string line = linesOf(written(RVXHashList::init())).at(0);
  const std::time_t after = std::time(nullptr);
  ::unsetenv("TZ");
  ::tzset();

  const std::string introduction = "# hash created by rvxvscopy by anna on " + toolComputerName() + " ";
  ASSERT_EQ(line.substr(0, introduction.size()), introduction);
  const std::string date = line.substr(introduction.size());
  ASSERT_EQ(date.size(), std::string("2026-11-15 00:22:04 +0000").size());
  std::tm utc{};
  const char* const end = ::strptime(date.c_str(), "%Y-%m-%d %H:%M:%S", &utc);
  ASSERT_NE(end, nullptr) << date;
  EXPECT_STREQ(end, " +0000");
  EXPECT_GE(::timegm(&utc), before);
  EXPECT_LE(::timegm(&utc), after);
}

TEST_F(RVXHashListTest, SecondHeaderLineEndsWithABlank) {
  auto list = RVXHashList::init();
  list.setOriginalFiles("/Volumes/Card/clip_1-100####.dpx");
  EXPECT_EQ(linesOf(written(list)).at(1), "# original file(s): /Volumes/Card/clip_1-100####.dpx ");
}

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

TEST_F(RVXHashListTest, UserThatIsNotSetIsAQuestionMark) {
  ::unsetenv("USER");
  EXPECT_TRUE(written(RVXHashList::init()).starts_with("# hash created by rvxvscopy by ? on "));
}

TEST_F(RVXHashListTest, UserThatIsEmptyStaysEmpty) {
  ::setenv("USER", "", 1);
  EXPECT_TRUE(written(RVXHashList::init()).starts_with("# hash created by rvxvscopy by  on "));
}

TEST_F(RVXHashListTest, OriginalFilesUnsetBecomeAQuestionMark) {
  auto list = RVXHashList::init();
  EXPECT_FALSE(list.originalFiles().has_value());
  ASSERT_TRUE(list.writeToFile(listPath(), true));
  EXPECT_EQ(linesOf(readFile(listPath())).at(1), "# original file(s): ? ");
  EXPECT_EQ(list.originalFiles(), "?");
}

TEST_F(RVXHashListTest, TextsWithPercentAreWrittenAsTheyAre) {
  ::setenv("USER", "%s%n", 1);
  auto list = RVXHashList::init();
  list.setOriginalFiles("%n%s");
  list.addHash(kMD5, "MD5", "../100%d.mov");
  const std::string text = written(list);
  EXPECT_TRUE(text.starts_with("# hash created by rvxvscopy by %s%n on "));
  EXPECT_EQ(linesOf(text).at(1), "# original file(s): %n%s ");
  EXPECT_EQ(linesOf(text).at(2), "MD5(../100%d.mov)= " + kMD5);
}

TEST_F(RVXHashListTest, EntryLines) {
  auto list = RVXHashList::init();
  list.addHash(kSHA1, "SHA1", "../clip_0002.dpx");
  list.addHash(kMD5, "MD5", "../clip_0001.dpx");
  const std::string text = written(list);
  EXPECT_EQ(entryLinesOf(text),
            (std::vector<std::string>{"MD5(../clip_0001.dpx)= " + kMD5, "SHA1(../clip_0002.dpx)= " + kSHA1}));
  EXPECT_TRUE(text.ends_with(kSHA1 + "\n"));
  EXPECT_EQ(text.find('\r'), std::string::npos);
}

TEST_F(RVXHashListTest, EntryWhoseValueIsNotTwoPiecesIsSkipped) {
  auto list = RVXHashList::init();
  list.addHash("12:34", "SHA1", "../a");
  list.addHash(kSHA1, "SHA:1", "../b");
  list.addHash(kSHA1, "SHA1", "../c:d");
  EXPECT_EQ(entryLinesOf(written(list)), std::vector<std::string>{"SHA1(../c:d)= " + kSHA1});
}

TEST_F(RVXHashListTest, EmptyDigestIsAPieceAsWell) {
  auto list = RVXHashList::init();
  list.addHash("", "SHA1", "../a");
  EXPECT_EQ(entryLinesOf(written(list)), std::vector<std::string>{"SHA1(../a)= "});
}

TEST_F(RVXHashListTest, LaterAddReplacesTheEarlierOne) {
  auto list = RVXHashList::init();
  list.addHash(kMD5, "MD5", "../a");
  list.addHash(kSHA1, "SHA1", "../a");
  EXPECT_EQ(list.hashStringForFile("../a"), "SHA1:" + kSHA1);
  EXPECT_EQ(entryLinesOf(written(list)), std::vector<std::string>{"SHA1(../a)= " + kSHA1});
}

TEST_F(RVXHashListTest, AddedNamesAreNotStandardized) {
  auto list = RVXHashList::init();
  list.addHash(kMD5, "MD5", "..//a/");
  EXPECT_EQ(list.hashStringForFile("..//a/"), "MD5:" + kMD5);
  EXPECT_FALSE(list.hashStringForFile("../a").has_value());
}

TEST_F(RVXHashListTest, NamesAreComparedExactly) {
  auto list = RVXHashList::init();
  list.addHash(kMD5, "MD5", "../clip.mov");
  EXPECT_FALSE(list.hashStringForFile("../CLIP.MOV").has_value());
  EXPECT_FALSE(list.hashStringForFile("clip.mov").has_value());
}

TEST_F(RVXHashListTest, LookUpInAnEmptyListGivesNothing) {
  EXPECT_FALSE(RVXHashList::init().hashStringForFile("../a").has_value());
}

TEST_F(RVXHashListTest, NothingIsChecked) {
  auto list = RVXHashList::init();
  list.addHash("no digest", "NO LABEL", "../a");
  EXPECT_EQ(list.hashStringForFile("../a"), "NO LABEL:no digest");
}

TEST_F(RVXHashListTest, FilePathsAreThoseThatWereRead) {
  auto list = readText("MD5(b)= " + kMD5 + "\nMD5(a)= " + kMD5 + "\n").value();
  list.addHash(kMD5, "MD5", "c");
  EXPECT_EQ(list.filePaths(), (std::vector<std::string>{"a", "b"}));
}

TEST_F(RVXHashListTest, FilePathsOfAddedEntriesAreEmpty) {
  auto list = RVXHashList::init();
  list.addHash(kMD5, "MD5", "c");
  EXPECT_TRUE(list.filePaths().empty());
}

TEST_F(RVXHashListTest, WriteToNoPath) {
  bool isWritten = true;
  const std::string output = outputOf([&] { isWritten = RVXHashList::init().writeToFile({}, true); });
  EXPECT_FALSE(isWritten);
  EXPECT_EQ(output, "ERROR: can't write hashfile to empty path");
}

TEST_F(RVXHashListTest, WriteToNoPathLeavesTheOriginalFilesUnset) {
  auto list = RVXHashList::init();
  outputOf([&] { list.writeToFile({}, true); });
  EXPECT_FALSE(list.originalFiles().has_value());
}

TEST_F(RVXHashListTest, WriteIntoAMissingFolder) {
  const std::string path = mFolder.path("missing/list");
  for (const bool atomically : {true, false}) {
    bool isWritten = true;
    const std::string output =
        outputOf([&] { isWritten = RVXHashList::init().writeToFile(path, atomically); });
    EXPECT_FALSE(isWritten);
    EXPECT_EQ(output, "ERROR: couldn't write hash file to " + path + "\n");
  }
}

TEST_F(RVXHashListTest, FailedAtomicWriteLeavesNothingBehind) {
  const std::string path = mFolder.folder("list");
  outputOf([&] { RVXHashList::init().writeToFile(path, true); });
  EXPECT_EQ(entryCount(mFolder.path()), 1U);
}

TEST_F(RVXHashListTest, WriteReplacesAnExistingFile) {
  for (const bool atomically : {true, false}) {
    writeFile(listPath(), std::string(10000, 'x'));
    EXPECT_TRUE(RVXHashList::init().writeToFile(listPath(), atomically));
    EXPECT_EQ(linesOf(readFile(listPath())).size(), 2U);
    EXPECT_EQ(entryCount(mFolder.path()), 1U);
  }
}

TEST_F(RVXHashListTest, ListCanBeWrittenAnyNumberOfTimes) {
  auto list = RVXHashList::init();
  list.addHash(kMD5, "MD5", "../a");
  for (const char* name : {"1", "2", "3"}) {
    EXPECT_TRUE(list.writeToFile(mFolder.path(name), true));
    EXPECT_EQ(entryLinesOf(readFile(mFolder.path(name))), std::vector<std::string>{"MD5(../a)= " + kMD5});
  }
}

TEST_F(RVXHashListTest, WrittenFileReadsBackIntoTheSameEntries) {
  auto list = RVXHashList::init();
  list.addHash(kMD5, "MD5", "../a(1).mov");
  list.addHash(kSHA1, "SHA1", "../\u00E4 b.mov");
  written(list);
  const auto read = RVXHashList::initWithPath(listPath()).value();
  EXPECT_EQ(read.filePaths(), (std::vector<std::string>{"../a(1).mov", "../\u00E4 b.mov"}));
  EXPECT_EQ(read.hashStringForFile("../a(1).mov"), "MD5:" + kMD5);
  EXPECT_EQ(read.hashStringForFile("../\u00E4 b.mov"), "SHA1:" + kSHA1);
}

TEST_F(RVXHashListTest, WrittenFileIsReadByTheDigestTools) {
  const std::string copy = writeFile(mFolder.path("clip.mov"), patternBytes(1000));
  for (const auto& [label, tool] : {std::pair{"SHA1", "sha1sum"}, std::pair{"MD5", "md5sum"}}) {
    auto list = RVXHashList::init();
    list.addHash(digestByTool(tool, copy), label, "../clip.mov");
    const std::string folder = mFolder.folder(label);
    ASSERT_TRUE(list.writeToFile(folder + "/clip", true));
    EXPECT_EQ(outputOfShell("cd '" + folder + "' && " + tool + " --strict -c clip 2>&1"),
              "../clip.mov: OK\n");
  }
}

TEST_F(RVXHashListTest, CommentsAndEmptyLinesAreSkipped) {
  const auto list = readText("# a comment\n\n#\n\nMD5(a)= " + kMD5 + "\n\n").value();
  EXPECT_EQ(list.filePaths(), std::vector<std::string>{"a"});
}

TEST_F(RVXHashListTest, EmptyFileIsAnEmptyList) {
  EXPECT_TRUE(readText("").value().filePaths().empty());
}

TEST_F(RVXHashListTest, LastLineWithoutLineEndIsRead) {
  EXPECT_EQ(readText("MD5(a)= " + kMD5).value().hashStringForFile("a"), "MD5:" + kMD5);
}

TEST_F(RVXHashListTest, MissingFileCantBeRead) {
  bool isNothing = false;
  const std::string output =
      outputOf([&] { isNothing = !RVXHashList::initWithPath(mFolder.path("missing")).has_value(); });
  EXPECT_TRUE(isNothing);
  EXPECT_EQ(output, "ERROR: couldn't read hash file " + mFolder.path("missing") + ".\n");
}

TEST_F(RVXHashListTest, FolderCantBeRead) {
  bool isNothing = false;
  const std::string output =
      outputOf([&] { isNothing = !RVXHashList::initWithPath(mFolder.path()).has_value(); });
  EXPECT_TRUE(isNothing);
  EXPECT_EQ(output, "ERROR: couldn't read hash file " + mFolder.path() + ".\n");
}

TEST_F(RVXHashListTest, FileThatIsNoUTF8CantBeRead) {
  EXPECT_EQ(refusal("# \xFF\nMD5(a)= " + kMD5 + "\n"),
            "ERROR: couldn't read hash file " + listPath() + ".\n");
}

TEST_F(RVXHashListTest, CarriageReturnFailsAtTheFirstEntryLine) {
  const std::string entry = "SHA1(a)= " + kSHA1 + "\r";
  EXPECT_EQ(refusal("# one\r\n# two\r\n" + entry + "\n" + entry + "\n"), parseFailure(3, entry));
}

TEST_F(RVXHashListTest, CarriageReturnAloneIsNoEmptyLine) {
  EXPECT_EQ(refusal("# one\r\n\r\n"), parseFailure(2, "\r"));
}

TEST_F(RVXHashListTest, BlanksBeforeTheLabelAreAccepted) {
  EXPECT_EQ(readText("   MD5(a)= " + kMD5 + "\n").value().hashStringForFile("a"), "MD5:" + kMD5);
}

TEST_F(RVXHashListTest, BlankBetweenLabelAndBracketIsRefused) {
  EXPECT_EQ(refusal("MD5 (a) = " + kMD5 + "\n"), parseFailure(1, "MD5 (a) = " + kMD5));
}

TEST_F(RVXHashListTest, LabelInLowerCaseIsRefused) {
  EXPECT_EQ(refusal("md5(a)= " + kMD5 + "\n"), parseFailure(1, "md5(a)= " + kMD5));
}

TEST_F(RVXHashListTest, BlanksBeforeTheNumberSignMakeNoComment) {
  EXPECT_EQ(refusal(" # a comment\n"), parseFailure(1, " # a comment"));
}

TEST_F(RVXHashListTest, DigestInGroupsOfFourIsAccepted) {
  const auto list = readText("MD5(a)= 9001 5098 3cd2 4fb0 d696 3f7d 28e1 7f72\n").value();
  EXPECT_EQ(list.hashStringForFile("a"), "MD5:" + kMD5);
}

TEST_F(RVXHashListTest, EmptyNameIsTheKeyOfABracket) {
  EXPECT_EQ(readText("MD5()= " + kMD5 + "\n").value().hashStringForFile("("), "MD5:" + kMD5);
}

TEST_F(RVXHashListTest, LabelAloneIsRefused) {
  EXPECT_EQ(refusal("SHA1\n"), parseFailure(1, "SHA1"));
}

TEST_F(RVXHashListTest, NameWithoutItsEndIsRefused) {
  EXPECT_EQ(refusal("# one\nMD5(a\n"), parseFailure(2, "MD5(a"));
}

TEST_F(RVXHashListTest, RefusedLineWithPercentIsPrintedAsItIs) {
  EXPECT_EQ(refusal("%s%n%d\n"), parseFailure(1, "%s%n%d"));
}

TEST_F(RVXHashListTest, LinesBeforeARefusedOneAreDiscarded) {
  EXPECT_EQ(refusal("MD5(a)= " + kMD5 + "\nMD5(b)= " + kMD5 + "\nbad\nworse\n"), parseFailure(3, "bad"));
}

TEST_F(RVXHashListTest, LaterLineOfTheSameNameWins) {
  const auto list = readText("MD5(a)= " + kMD5 + "\nMD5(a)= " + kOtherMD5 + "\n").value();
  EXPECT_EQ(list.hashStringForFile("a"), "MD5:" + kOtherMD5);
}

TEST_F(RVXHashListTest, NamesAreStandardizedBeforeTheyAreCompared) {
  const auto list = readText("MD5(/x/./a)= " + kMD5 + "\nMD5(/x//a/)= " + kOtherMD5 + "\n").value();
  EXPECT_EQ(list.filePaths(), std::vector<std::string>{"/x/a"});
  EXPECT_EQ(list.hashStringForFile("/x/a"), "MD5:" + kOtherMD5);
}

TEST_F(RVXHashListTest, ReadThenWrittenWithoutAnAddHasNoEntryLines) {
  EXPECT_TRUE(entryLinesOf(written(readText("MD5(a)= " + kMD5 + "\n").value())).empty());
}

TEST_F(RVXHashListTest, FirstAddTakesOverWhatWasRead) {
  auto list = readText("MD5(a)= " + kMD5 + "\n").value();
  list.addHash(kSHA1, "SHA1", "b");
  EXPECT_EQ(entryLinesOf(written(list)), (std::vector<std::string>{"MD5(a)= " + kMD5, "SHA1(b)= " + kSHA1}));
}

TEST_F(RVXHashListTest, ReadEntryHidesTheAddedOneButTheAddedOneIsWritten) {
  auto list = readText("MD5(a)= " + kMD5 + "\n").value();
  list.addHash(kSHA1, "SHA1", "a");
  EXPECT_EQ(list.hashStringForFile("a"), "MD5:" + kMD5);
  EXPECT_EQ(entryLinesOf(written(list)), std::vector<std::string>{"SHA1(a)= " + kSHA1});
}

TEST_F(RVXHashListTest, ReadListHasNoOriginalFiles) {
  EXPECT_FALSE(readText("# original file(s): x \n").value().originalFiles().has_value());
}

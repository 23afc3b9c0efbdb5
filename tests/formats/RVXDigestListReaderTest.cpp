#include <gtest/gtest.h>

#include "formats/RVXDigestListReader.h"
#include "tests/support/Files.h"
#include "tests/support/Outcomes.h"

namespace {

const std::string kMD5 = "58a7d90cbf2b1ced5acfeb94a7e29158";

// Writes down what it is given.
class Notes : public RVXDigestListReader::Receiver {
 public:
  std::string text;

 private:
  void entry(uint32_t line, RVXDigestLine&& entry) override { note(line, entry.name); }
  void badLine(uint32_t line, const char* problem) override { note(line, std::string("! ") + problem); }
  void originalFiles(std::string_view files) override { text += "of " + std::string(files) + "|\n"; }
  void note(uint32_t line, const std::string& what) { text += std::to_string(line) + " " + what + "\n"; }
};

std::string read(const std::string& list) {
  const TemporaryFolder folder;
  Notes notes;
  EXPECT_TRUE(RVXDigestListReader::read(writeFile(folder.path("list"), list), notes).succeeded());
  return notes.text;
}

}  // namespace

TEST(RVXDigestListReaderTest, CommentsAndEmptyLinesAreSkippedAndCounted) {
  EXPECT_EQ(read("# a\n\n" + kMD5 + "  a\r\n\r\nrubbish\n#\n" + kMD5 + " *b"),
            "3 a\n5 ! no digest line\n7 b\n");
  EXPECT_EQ(read(""), "");
}

TEST(RVXDigestListReaderTest, TheOriginalFilesWithoutTheBlankBehindThem) {
  EXPECT_EQ(read("# original file(s): /card/a b  \n# original file(s): x"), "of /card/a b |\nof x|\n");
}

TEST(RVXDigestListReaderTest, LinesAcrossItsBlocksAreWhole) {
  std::string list;
  std::string expected;
  for (int i = 1; i <= 20000; ++i) {
    const std::string name = "name" + std::to_string(i);
    list += kMD5 + "  " + name + "\n";
    expected += std::to_string(i) + " " + name + "\n";
  }
  EXPECT_EQ(read(list), expected);
}

TEST(RVXDigestListReaderTest, OfALineWithoutAnEndOnlyTheBeginningIsHeld) {
  const std::string longName(500000, 'n');
  EXPECT_EQ(read(kMD5 + "  " + longName + "\n" + kMD5 + "  a\n" + longName),
            "1 ! no digest line\n2 a\n3 ! no digest line\n");
}

TEST(RVXDigestListReaderTest, AListThatCannotBeReadIsAFailure) {
  Notes notes;
  EXPECT_EQ(failureOf(RVXDigestListReader::read("/nowhere/list", notes)), "ENOENT");
}

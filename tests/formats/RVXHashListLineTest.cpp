#include <gtest/gtest.h>

#include "formats/RVXHashListLine.h"

namespace {

const std::string kMD5 = "900150983cd24fb0d6963f7d28e17f72";
const std::string kSHA1 = "a9993e364706816aba3e25717850c26c9cd0d89d";

void expectEntry(const std::string& line, const std::string& label, const std::string& name,
                 const std::string& digest) {
  const auto entry = RVXHashListLine::parse(line);
  ASSERT_TRUE(entry.has_value()) << line;
  EXPECT_EQ(entry->label, label) << line;
  EXPECT_EQ(entry->name, name) << line;
  EXPECT_EQ(entry->digest, digest) << line;
}

void expectRefused(const std::string& line) {
  EXPECT_FALSE(RVXHashListLine::parse(line).has_value()) << line;
}

}  // namespace

TEST(RVXHashListLineTest, SHA1Entry) {
  expectEntry("SHA1(../clip_0001.dpx)= " + kSHA1, "SHA1", "../clip_0001.dpx", kSHA1);
}

TEST(RVXHashListLineTest, MD5Entry) {
  expectEntry("MD5(../clip.mov)= " + kMD5, "MD5", "../clip.mov", kMD5);
}

TEST(RVXHashListLineTest, NoBlankBehindTheEqualsSign) {
  expectEntry("MD5(a)=" + kMD5, "MD5", "a", kMD5);
}

TEST(RVXHashListLineTest, WhiteSpaceBeforeTheLabel) {
  expectEntry(" \t\r MD5(a)= " + kMD5, "MD5", "a", kMD5);
}

TEST(RVXHashListLineTest, BlankBetweenLabelAndBracketIsRefused) {
  expectRefused("MD5 (a)= " + kMD5);
  expectRefused("MD5 (a) = " + kMD5);
}

TEST(RVXHashListLineTest, OtherLabelsAreRefused) {
  for (const char* label : {"md5", "sha1", "Md5", "SHA-1", "SHA256", "SHA1x", "xSHA1", "MD5\t", "#MD5"}) {
    expectRefused(label + ("(a)= " + kMD5));
    expectRefused(label + ("(a)= " + kSHA1));
  }
}

TEST(RVXHashListLineTest, LineThatBeginsWithTheBracketIsRefused) {
  expectRefused("(a)= " + kMD5);
  expectRefused("  (a)= " + kMD5);
}

TEST(RVXHashListLineTest, LabelAloneIsRefused) {
  expectRefused("SHA1");
  expectRefused("MD5");
}

TEST(RVXHashListLineTest, WhiteSpaceAloneIsRefused) {
  expectRefused("   ");
  expectRefused("\t");
}

TEST(RVXHashListLineTest, NoEndOfTheNameIsRefused) {
  expectRefused("MD5(a");
  expectRefused("MD5(a)");
  expectRefused("MD5(a= " + kMD5);
  expectRefused("MD5(");
}

TEST(RVXHashListLineTest, EmptyNameIsABracket) {
  expectEntry("MD5()= " + kMD5, "MD5", "(", kMD5);
}

TEST(RVXHashListLineTest, NameWithBrackets) {
  expectEntry("MD5(a(1) (2).mov)= " + kMD5, "MD5", "a(1) (2).mov", kMD5);
}

TEST(RVXHashListLineTest, NameBeginsWithABracket) {
  expectEntry("MD5((a)= " + kMD5, "MD5", "(a", kMD5);
}

TEST(RVXHashListLineTest, NameEndsAtTheFirstBracketWithEqualsSign) {
  expectRefused("MD5(a)=b)= " + kMD5);
}

TEST(RVXHashListLineTest, NameOfOneCharacter) {
  expectEntry("MD5(a)= " + kMD5, "MD5", "a", kMD5);
}

TEST(RVXHashListLineTest, NameIsStandardized) {
  expectEntry("MD5(/d1//x/./y/../clip.mov)= " + kMD5, "MD5", "/d1/x/clip.mov", kMD5);
  expectEntry("MD5(..//clip.mov/)= " + kMD5, "MD5", "../clip.mov", kMD5);
}

TEST(RVXHashListLineTest, BlanksInTheDigestAreRemoved) {
  expectEntry("MD5(a)=  9001 5098 3cd2 4fb0 d696 3f7d 28e1 7f72 ", "MD5", "a", kMD5);
}

TEST(RVXHashListLineTest, TabInTheDigestStays) {
  expectRefused("MD5(a)=\t" + kMD5);
}

TEST(RVXHashListLineTest, CarriageReturnBehindTheDigestIsRefused) {
  expectRefused("MD5(a)= " + kMD5 + "\r");
  expectRefused("SHA1(a)= " + kSHA1 + "\r");
}

TEST(RVXHashListLineTest, DigestLengthBelongsToTheLabel) {
  expectRefused("MD5(a)= " + kSHA1);
  expectRefused("SHA1(a)= " + kMD5);
  expectRefused("MD5(a)= " + kMD5.substr(1));
  expectRefused("SHA1(a)= " + kSHA1 + "0");
  expectRefused("MD5(a)=");
}

TEST(RVXHashListLineTest, DigestIsNotCheckedToBeHexadecimal) {
  expectEntry("MD5(a)= " + std::string(32, 'z'), "MD5", "a", std::string(32, 'z'));
  expectEntry("SHA1(a)= " + std::string(40, 'F'), "SHA1", "a", std::string(40, 'F'));
}

TEST(RVXHashListLineTest, DigestLengthIsCountedInCharacters) {
  const std::string digest = "\u00E9" + std::string(31, '0');
  expectEntry("MD5(a)= " + digest, "MD5", "a", digest);
}

#include <gtest/gtest.h>

#include "formats/RVXHashListLine.h"

namespace {

const std::string kMD5 = "900150983cd24fb0d6963f7d28e17f72";
const std::string kSHA1 = "a9993e364706816aba3e25717850c26c9cd0d89d";

}  // namespace

TEST(RVXHashListLineTest, Entries) {
  const std::string accented = "\u00E9" + std::string(31, '0');  // counted in characters
  struct {
    std::string line, label, name, digest;
  } const rows[] = {
      {"SHA1(../clip_0001.dpx)= " + kSHA1, "SHA1", "../clip_0001.dpx", kSHA1},
      {"MD5(../clip.mov)= " + kMD5, "MD5", "../clip.mov", kMD5},
      {"MD5(a)=" + kMD5, "MD5", "a", kMD5},
      {" \t\r MD5(a)= " + kMD5, "MD5", "a", kMD5},
      {"MD5()= " + kMD5, "MD5", "(", kMD5},
      {"MD5(a(1) (2).mov)= " + kMD5, "MD5", "a(1) (2).mov", kMD5},
      {"MD5((a)= " + kMD5, "MD5", "(a", kMD5},
      {"MD5(/d1//x/./y/../clip.mov)= " + kMD5, "MD5", "/d1/x/clip.mov", kMD5},
      {"MD5(..//clip.mov/)= " + kMD5, "MD5", "../clip.mov", kMD5},
      {"MD5(a)=  9001 5098 3cd2 4fb0 d696 3f7d 28e1 7f72 ", "MD5", "a", kMD5},
      {"MD5(a)= " + std::string(32, 'z'), "MD5", "a", std::string(32, 'z')},
      {"SHA1(a)= " + std::string(40, 'F'), "SHA1", "a", std::string(40, 'F')},
      {"MD5(a)= " + accented, "MD5", "a", accented},
  };
  for (const auto& row : rows) {
    const auto entry = RVXHashListLine::parse(row.line);
    ASSERT_TRUE(entry.has_value()) << row.line;
    EXPECT_EQ(entry->label, row.label) << row.line;
    EXPECT_EQ(entry->name, row.name) << row.line;
    EXPECT_EQ(entry->digest, row.digest) << row.line;
  }
}

TEST(RVXHashListLineTest, WhatIsRefused) {
  const std::string afterLabel = "(a)= " + kMD5;
  for (const std::string& line :
       {"MD5 (a) = " + kMD5,  "MD5 " + afterLabel,         "md5" + afterLabel,         "sha1(a)= " + kSHA1,
        "Md5" + afterLabel,   "SHA-1(a)= " + kSHA1,        "SHA256(a)= " + kSHA1,      "SHA1x(a)= " + kSHA1,
        "xSHA1(a)= " + kSHA1, "MD5\t" + afterLabel,        "#MD5" + afterLabel,        afterLabel,
        "  " + afterLabel,    std::string("SHA1"),         std::string("MD5"),         std::string("   "),
        std::string("MD5("),  std::string("MD5(a"),        std::string("MD5(a)"),      std::string("MD5(a)="),
        "MD5(a= " + kMD5,
        "MD5(a)=b)= " + kMD5,  // the first bracket with an equals sign ends the name
        "MD5(a)=\t" + kMD5,   "MD5(a)= " + kMD5 + "\r",    "SHA1(a)= " + kSHA1 + "\r", "MD5(a)= " + kSHA1,
        "SHA1(a)= " + kMD5,   "MD5(a)= " + kMD5.substr(1), "SHA1(a)= " + kSHA1 + "0"}) {
    EXPECT_FALSE(RVXHashListLine::parse(line).has_value()) << line;
  }
}

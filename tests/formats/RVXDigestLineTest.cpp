#include <gtest/gtest.h>

#include <vector>

#include "formats/RVXDigestLine.h"
#include "include/DigestString.h"

namespace {

const std::string kMD5 = "58a7d90cbf2b1ced5acfeb94a7e29158";
const std::string kSHA1 = "fb926abe4000bb296dfd71984bd5a2a5ac04e0d5";

// "KIND HEX NAME", or the problem.
std::string parsed(std::string_view line) {
  const auto result = RVXDigestLine::parse(line);
  if (const auto* problem = std::get_if<const char*>(&result)) return *problem;
  const auto& entry = std::get<RVXDigestLine>(result);
  return std::string(digestLabel(entry.kind)) + " " + digestString(std::as_bytes(std::span(entry.digest))) +
         " " + entry.name;
}

}  // namespace

TEST(RVXDigestLineTest, EveryForm) {
  for (const std::string& line :
       {"SHA1(../a b)= " + kSHA1, "SHA1 (../a b) = " + kSHA1, "sha-1  \t(../a b)= " + kSHA1,
        kSHA1 + "  ../a b", kSHA1 + " *../a b", " \t" + kSHA1 + "  ../a b", "\\" + kSHA1 + "  ../a b",
        "\\SHA1 (../a b) = " + kSHA1}) {
    EXPECT_EQ(parsed(line), "SHA1 " + kSHA1 + " ../a b") << line;
  }
}

TEST(RVXDigestLineTest, EveryLabelAndLength) {
  for (const auto& [label, kind, length] : {std::tuple("MD5", "MD5", 32),
                                            {"md5", "MD5", 32},
                                            {"SHA1", "SHA1", 40},
                                            {"SHA-1", "SHA1", 40},
                                            {"SHA256", "SHA256", 64},
                                            {"SHA-256", "SHA256", 64},
                                            {"SHA2-256", "SHA256", 64},
                                            {"SHA512", "SHA512", 128},
                                            {"Sha-512", "SHA512", 128},
                                            {"SHA2-512", "SHA512", 128}}) {
    const std::string digits(static_cast<size_t>(length), 'e');
    EXPECT_EQ(parsed(label + std::string("(a)= ") + digits), kind + (" " + digits) + " a");
    EXPECT_EQ(parsed(digits + "  a"), kind + (" " + digits) + " a");
    EXPECT_EQ(parsed(label + std::string("(a)= ") + digits + "ee"), RVXDigestLine::kWrongLength);
  }
}

TEST(RVXDigestLineTest, ALabelledNameEndsAtTheLastBracket) {
  EXPECT_EQ(parsed("MD5(a)= b) = c)= " + kMD5), "MD5 " + kMD5 + " a)= b) = c");
  EXPECT_EQ(parsed("MD5 (a) = b)= c) = " + kMD5), "MD5 " + kMD5 + " a) = b)= c");
}

TEST(RVXDigestLineTest, OnlyALeadingBackslashMakesEscapes) {
  EXPECT_EQ(parsed(kMD5 + "  a\\nb"), "MD5 " + kMD5 + " a\\nb");
  EXPECT_EQ(parsed("\\" + kMD5 + "  a\\n\\\\\\rb"), "MD5 " + kMD5 + " a\n\\\rb");
  EXPECT_EQ(parsed("\\MD5 (a\\nb) = " + kMD5), "MD5 " + kMD5 + " a\nb");
  for (const char* const name : {"\\t", "a\\", "\\0"}) {
    EXPECT_EQ(parsed("\\" + kMD5 + "  " + name), RVXDigestLine::kNoDigestLine) << name;
  }
}

TEST(RVXDigestLineTest, OtherLines) {
  for (const std::string& line : std::vector<std::string>{
           std::string("a"), std::string("  "), kMD5, kMD5 + " ", kMD5 + "  ", kMD5 + " a", kMD5 + "\t a",
           "MD5 (a)=" + kMD5, "MD5 () = " + kMD5, "MD5 (a) = ", "MD5 (a) = " + kMD5 + " ",
           "SHA384 (a) = " + kMD5, "MD5 a = " + kMD5, "\xEF\xBB\xBF" + kMD5 + "  a",
           kMD5 + std::string("  a\0b", 5), "\\\\" + kMD5 + "  a"}) {
    EXPECT_EQ(parsed(line), RVXDigestLine::kNoDigestLine) << line;
  }
  for (const std::string& line :
       std::vector<std::string>{kMD5 + "0  a", "ab  file", "SHA1 (a) = " + kMD5, "MD5 (a) = " + kSHA1}) {
    EXPECT_EQ(parsed(line), RVXDigestLine::kWrongLength) << line;
  }
}

TEST(RVXDigestLineTest, DigestsOfMediaHashListsAreNone) {
  for (const auto& [label, length] :
       {std::pair("XXH32", 8), {"XXH64", 16}, {"XXH3", 16}, {"XXH128", 32}, {"C4", 128}}) {
    const std::string digits(static_cast<size_t>(length), 'e');
    EXPECT_EQ(parsed(std::string(label) + "(a)= " + digits), RVXDigestLine::kNoDigestLine);
  }
  EXPECT_EQ(parsed("eeeeeeeeeeeeeeee  a"), RVXDigestLine::kWrongLength);
  EXPECT_EQ(parsed("58A7D90CBF2b1ced5acfeb94a7e29158  a"), "MD5 " + kMD5 + " a");  // no XXH128
}

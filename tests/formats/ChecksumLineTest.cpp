#include <gtest/gtest.h>

#include "tests/support/ChecksumLine.h"
#include "tests/support/Files.h"
#include "tests/support/Tools.h"

// That the reading of lines to which hash lists are compared is the tools' own.

namespace {

constexpr size_t kSHA1Length = 40;

class ChecksumLineTest : public testing::Test {
 protected:
  // Says OK, behind a name, where the file of that name has the digest; nothing where the line is refused.
  [[nodiscard]] std::string toolsAnswer(const std::string& line) const {
    writeFile(mFolder.path("list"), line + "\n");
    return outputOfShell("cd '" + mFolder.path() + "' && sha1sum -c list 2>/dev/null");
  }

  void expectUnderstood(const std::string& line, const std::string& name) const {
    const auto parsed = ChecksumLine::parse(line, "SHA1", kSHA1Length);
    ASSERT_TRUE(parsed.has_value()) << line;
    EXPECT_EQ(parsed->name, name) << line;
    EXPECT_EQ(parsed->digest.size(), kSHA1Length) << line;
    writeFile(mFolder.path(name), kText);
    EXPECT_TRUE(toolsAnswer(line).ends_with(": OK\n")) << line;
    std::filesystem::remove(mFolder.path(name));
    EXPECT_TRUE(toolsAnswer(line).ends_with(": FAILED open or read\n")) << line;
  }

  void expectRefused(const std::string& line) const {
    EXPECT_FALSE(ChecksumLine::parse(line, "SHA1", kSHA1Length).has_value()) << line;
    EXPECT_EQ(toolsAnswer(line), "") << line;
  }

  const std::string kText = "any";
  const std::string kDigest = toolSHA1OfText(kText);
  TemporaryFolder mFolder;
};

}  // namespace

TEST_F(ChecksumLineTest, DefaultForm) {
  expectUnderstood(kDigest + "  a", "a");
  expectUnderstood(kDigest + " *a", "a");
  expectUnderstood(kDigest + "   a", " a");
  expectUnderstood(" \t" + kDigest + "  a ", "a ");
  expectUnderstood(kDigest + "  a\\nb", "a\\nb");
}

TEST_F(ChecksumLineTest, LabelledForm) {
  expectUnderstood("SHA1 (a) = " + kDigest, "a");
  expectUnderstood("SHA1(a)= " + kDigest, "a");
  expectUnderstood("SHA1(a)=" + kDigest, "a");
  expectUnderstood("SHA1(a) \t=\t " + kDigest, "a");
  expectUnderstood("\t SHA1(a)= " + kDigest, "a");
}

TEST_F(ChecksumLineTest, LastBracketEndsTheName) {
  expectUnderstood("SHA1(a)= b)= " + kDigest, "a)= b");
  expectUnderstood("SHA1(a(1))= " + kDigest, "a(1)");
  expectUnderstood("SHA1(( a)= " + kDigest, "( a");
}

TEST_F(ChecksumLineTest, EscapedNames) {
  expectUnderstood("\\" + kDigest + "  a\\nb\\\\n\\r", "a\nb\\n\r");
  expectUnderstood("\\SHA1(a\\nb)= " + kDigest, "a\nb");
  expectUnderstood("\\SHA1 (a) = " + kDigest, "a");
  expectRefused("\\" + kDigest + "  a\\tb");
  expectRefused("\\SHA1(a\\)= " + kDigest);
}

TEST_F(ChecksumLineTest, DigestsInCapitals) {
  std::string capitals = kDigest;
  for (char& digit : capitals) digit = static_cast<char>(std::toupper(digit));
  expectUnderstood("SHA1(a)= " + capitals, "a");
  expectUnderstood(capitals + "  a", "a");
}

TEST_F(ChecksumLineTest, CarriageReturnAtTheEndIsNoPart) {
  expectUnderstood("SHA1(a)= " + kDigest + "\r", "a");
  expectUnderstood(kDigest + "  a\r", "a");
  expectRefused("SHA1(a)= " + kDigest + "\r\r");
}

TEST_F(ChecksumLineTest, WhatTheToolsRefuse) {
  for (const std::string& line :
       {"SHA1  (a)= " + kDigest, "MD5(a)= " + kDigest, "SHA1(a= " + kDigest, "SHA1 a)= " + kDigest,
        "SHA1(a)= " + kDigest + " ", "SHA1(a)= " + kDigest + "0", "SHA1(a)= " + kDigest.substr(1),
        "SHA1(a)= z" + kDigest.substr(1), "SHA1(a): " + kDigest, "\vSHA1(a)= " + kDigest, kDigest + "a",
        kDigest.substr(1) + "  a", "sha1(a)= " + kDigest, std::string("SHA1"), std::string("SHA1("),
        std::string(")")}) {
    expectRefused(line);
  }
}

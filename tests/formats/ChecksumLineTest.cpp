#include <gtest/gtest.h>

#include "tests/support/ChecksumLine.h"
#include "tests/support/Files.h"
#include "tests/support/Tools.h"

// That the reading of lines to which hash lists are compared is the tools' own.

namespace {

constexpr size_t kSHA1Length = 40;

class ChecksumLineTest : public testing::Test {
 protected:
  // Says OK, after a name, where the file of that name has the digest; nothing where the line is refused.
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

TEST_F(ChecksumLineTest, WhatTheToolsUnderstand) {
  std::string capitals = kDigest;
  for (char& digit : capitals) digit = static_cast<char>(std::toupper(digit));
  const std::vector<std::pair<std::string, std::string>> rows = {
      {kDigest + "  a", "a"},
      {kDigest + " *a", "a"},
      {kDigest + "   a", " a"},
      {" \t" + kDigest + "  a ", "a "},
      {kDigest + "  a\\nb", "a\\nb"},
      {kDigest + "  a\r", "a"},
      {capitals + "  a", "a"},
      {"SHA1 (a) = " + kDigest, "a"},
      {"SHA1(a)= " + kDigest, "a"},
      {"SHA1(a)=" + kDigest, "a"},
      {"SHA1(a) \t=\t " + kDigest, "a"},
      {"\t SHA1(a)= " + kDigest, "a"},
      {"SHA1(a)= " + kDigest + "\r", "a"},
      {"SHA1(a)= " + capitals, "a"},
      {"SHA1(a)= b)= " + kDigest, "a)= b"},  // the last bracket ends the name
      {"SHA1(a(1))= " + kDigest, "a(1)"},
      {"SHA1(( a)= " + kDigest, "( a"},
      {"\\" + kDigest + "  a\\nb\\\\n\\r", "a\nb\\n\r"},
      {"\\SHA1(a\\nb)= " + kDigest, "a\nb"},
      {"\\SHA1 (a) = " + kDigest, "a"}};
  for (const auto& [line, name] : rows) expectUnderstood(line, name);
}

TEST_F(ChecksumLineTest, WhatTheToolsRefuse) {
  for (const std::string& line :
       {"SHA1  (a)= " + kDigest, "MD5(a)= " + kDigest, "SHA1(a= " + kDigest, "SHA1 a)= " + kDigest,
        "SHA1(a)= " + kDigest + " ", "SHA1(a)= " + kDigest + "0", "SHA1(a)= " + kDigest.substr(1),
        "SHA1(a)= z" + kDigest.substr(1), "SHA1(a): " + kDigest, "\vSHA1(a)= " + kDigest, kDigest + "a",
        kDigest.substr(1) + "  a", "sha1(a)= " + kDigest, std::string("SHA1"), std::string("SHA1("),
        std::string(")"), "SHA1(a)= " + kDigest + "\r\r", "\\" + kDigest + "  a\\tb",
        "\\SHA1(a\\)= " + kDigest}) {
    expectRefused(line);
  }
}

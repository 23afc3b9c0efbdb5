#include <gtest/gtest.h>

#include <initializer_list>

#include "platform/RVXPathText.h"
#include "tests/support/Tools.h"

namespace {

struct Example {
  const char* path;
  const char* expected;
};

struct JoiningExample {
  const char* path;
  const char* added;
  const char* expected;
};

}  // namespace

TEST(RVXPathTextTest, LastComponent) {
  for (const auto& [path, expected] : std::initializer_list<Example>{
           {"/V/A001/clip.mov", "clip.mov"},
           {"clip.mov", "clip.mov"},
           {"A001/clip.mov", "clip.mov"},
           {"/clip.mov", "clip.mov"},
           {"..//clip.mov", "clip.mov"},
           {"..", ".."},
           {"/V/A001/", "A001"},  // slashes at the end are no component
           {"/V/A001///", "A001"},
           {"A001/", "A001"},
           {"/", "/"},
           {"///", "/"},
           {"", ""},
       }) {
    EXPECT_EQ(lastPathComponent(path), expected) << path;
  }
}

TEST(RVXPathTextTest, WithoutLastComponent) {
  for (const auto& [path, expected] : std::initializer_list<Example>{
           {"/V/A001/clip.mov", "/V/A001"},
           {"A001/clip.mov", "A001"},
           {"../clip.mov", ".."},
           {"/V/A001/", "/V"},
           {"/V/A001//", "/V"},
           {"/V//clip.mov", "/V"},  // no slash is left at the end
           {"clip.mov", ""},
           {"A001/", ""},
           {"", ""},
           {"/clip.mov", "/"},
           {"/", "/"},
           {"//", "/"},
           {"//clip.mov", "/"},
       }) {
    EXPECT_EQ(pathWithoutLastComponent(path), expected) << path;
  }
}

TEST(RVXPathTextTest, AppendingAComponent) {
  for (const auto& [path, added, expected] : std::initializer_list<JoiningExample>{
           {"/d1", "clip.mov", "/d1/clip.mov"},
           {"/d1/", "clip.mov", "/d1/clip.mov"},
           {"/d1//", "clip.mov", "/d1/clip.mov"},
           {"/d1", "/clip.mov", "/d1/clip.mov"},
           {"/d1/", "//clip.mov", "/d1/clip.mov"},
           {"d1", "DCIM/A001", "d1/DCIM/A001"},
           {"/", "clip.mov", "/clip.mov"},
           {"", "clip.mov", "clip.mov"},  // stays relative
           {"/d1", "", "/d1"},
           {"/d1/", "", "/d1/"},
           {"", "", ""},
           {"/d1/", "/", "/d1/"},
           {"d1", "/", "d1"},
       }) {
    EXPECT_EQ(pathByAppendingComponent(path, added), expected) << path << " and " << added;
  }
}

TEST(RVXPathTextTest, AppendingAnExtensionJoinsWithOneDot) {
  EXPECT_EQ(pathByAppendingExtension("/d1/sha1/clip.mov", "sha1"), "/d1/sha1/clip.mov.sha1");
  EXPECT_EQ(pathByAppendingExtension("clip", "md5"), "clip.md5");
}

TEST(RVXPathTextTest, Standardized) {
  for (const auto& [path, expected] : std::initializer_list<Example>{
           {"../clip.mov", "../clip.mov"},  // relative names stay
           {"clip.mov", "clip.mov"},
           {"../../a/../b", "../../a/../b"},
           {"a/..", "a/.."},
           {"a/b/../c", "a/b/../c"},
           {"(", "("},
           {"", ""},
           {"..", ".."},
           {".", "."},
           {"/a//b///c", "/a/b/c"},
           {"..//clip.mov", "../clip.mov"},
           {"//a", "/a"},
           {"/a/./b", "/a/b"},
           {"../././b", "../b"},
           {"/a/b/", "/a/b"},
           {"a/", "a"},
           {"/", "/"},
           {"/a/b/../c", "/a/c"},  // parents are resolved in absolute paths only
           {"/a/../../b", "/b"},
           {"/..", "/"},
       }) {
    EXPECT_EQ(standardizedPath(path), expected) << path;
  }
}

TEST(RVXPathTextTest, StandardizedTildeIsTheHomeFolder) {
  const std::string home = outputOfShell("getent passwd \"$(id -u)\" | cut -d: -f6 | tr -d '\\n'");
  EXPECT_EQ(standardizedPath("~"), home);
  EXPECT_EQ(standardizedPath("~/clip.mov"), home + "/clip.mov");
}

TEST(RVXPathTextTest, StandardizedTildeWithANameIsThatUsersHomeFolder) {
  const std::string home = outputOfShell("getent passwd root | cut -d: -f6 | tr -d '\\n'");
  EXPECT_EQ(standardizedPath("~root/clip.mov"), home + "/clip.mov");
}

TEST(RVXPathTextTest, StandardizedTildeOfNobodyStays) {
  EXPECT_EQ(standardizedPath("~no-such-user/a"), "~no-such-user/a");
  EXPECT_EQ(standardizedPath("a/~"), "a/~");
}

TEST(RVXPathTextTest, StandardizedTildeWithAZeroInTheNameStays) {
  const std::string path("~root\0x/a", 9);
  EXPECT_EQ(standardizedPath(path), path);
}

TEST(RVXPathTextTest, AsciiText) {
  EXPECT_TRUE(isAsciiText(""));
  EXPECT_TRUE(isAsciiText("/d1/clip.mov\x7F\x01"));
  EXPECT_FALSE(isAsciiText("/d1/\u00E4"));
  EXPECT_FALSE(isAsciiText("\x80"));
  EXPECT_FALSE(isAsciiText("a\xFF"));
}

#include <gtest/gtest.h>

#include "platform/RVXPathText.h"
#include "tests/support/Tools.h"

TEST(RVXPathTextTest, LastComponent) {
  EXPECT_EQ(lastPathComponent("/V/A001/clip.mov"), "clip.mov");
  EXPECT_EQ(lastPathComponent("clip.mov"), "clip.mov");
  EXPECT_EQ(lastPathComponent("A001/clip.mov"), "clip.mov");
  EXPECT_EQ(lastPathComponent("/clip.mov"), "clip.mov");
  EXPECT_EQ(lastPathComponent("..//clip.mov"), "clip.mov");
  EXPECT_EQ(lastPathComponent(".."), "..");
}

TEST(RVXPathTextTest, LastComponentIgnoresTrailingSlashes) {
  EXPECT_EQ(lastPathComponent("/V/A001/"), "A001");
  EXPECT_EQ(lastPathComponent("/V/A001///"), "A001");
  EXPECT_EQ(lastPathComponent("A001/"), "A001");
}

TEST(RVXPathTextTest, LastComponentOfTheRootFolderIsASlash) {
  EXPECT_EQ(lastPathComponent("/"), "/");
  EXPECT_EQ(lastPathComponent("///"), "/");
}

TEST(RVXPathTextTest, LastComponentOfEmptyTextIsEmpty) {
  EXPECT_EQ(lastPathComponent(""), "");
}

TEST(RVXPathTextTest, WithoutLastComponent) {
  EXPECT_EQ(pathWithoutLastComponent("/V/A001/clip.mov"), "/V/A001");
  EXPECT_EQ(pathWithoutLastComponent("A001/clip.mov"), "A001");
  EXPECT_EQ(pathWithoutLastComponent("../clip.mov"), "..");
}

TEST(RVXPathTextTest, WithoutLastComponentIgnoresTrailingSlashes) {
  EXPECT_EQ(pathWithoutLastComponent("/V/A001/"), "/V");
  EXPECT_EQ(pathWithoutLastComponent("/V/A001//"), "/V");
}

TEST(RVXPathTextTest, WithoutLastComponentLeavesNoTrailingSlash) {
  EXPECT_EQ(pathWithoutLastComponent("/V//clip.mov"), "/V");
}

TEST(RVXPathTextTest, WithoutLastComponentOfASingleNameIsEmpty) {
  EXPECT_EQ(pathWithoutLastComponent("clip.mov"), "");
  EXPECT_EQ(pathWithoutLastComponent("A001/"), "");
  EXPECT_EQ(pathWithoutLastComponent(""), "");
}

TEST(RVXPathTextTest, WithoutLastComponentStopsAtTheRootFolder) {
  EXPECT_EQ(pathWithoutLastComponent("/clip.mov"), "/");
  EXPECT_EQ(pathWithoutLastComponent("/"), "/");
  EXPECT_EQ(pathWithoutLastComponent("//"), "/");
  EXPECT_EQ(pathWithoutLastComponent("//clip.mov"), "/");
}

TEST(RVXPathTextTest, AppendingAComponentJoinsWithOneSlash) {
  EXPECT_EQ(pathByAppendingComponent("/d1", "clip.mov"), "/d1/clip.mov");
  EXPECT_EQ(pathByAppendingComponent("/d1/", "clip.mov"), "/d1/clip.mov");
  EXPECT_EQ(pathByAppendingComponent("/d1//", "clip.mov"), "/d1/clip.mov");
  EXPECT_EQ(pathByAppendingComponent("/d1", "/clip.mov"), "/d1/clip.mov");
  EXPECT_EQ(pathByAppendingComponent("/d1/", "//clip.mov"), "/d1/clip.mov");
  EXPECT_EQ(pathByAppendingComponent("d1", "DCIM/A001"), "d1/DCIM/A001");
}

TEST(RVXPathTextTest, AppendingToTheRootFolder) {
  EXPECT_EQ(pathByAppendingComponent("/", "clip.mov"), "/clip.mov");
}

TEST(RVXPathTextTest, AppendingToEmptyTextStaysRelative) {
  EXPECT_EQ(pathByAppendingComponent("", "clip.mov"), "clip.mov");
}

TEST(RVXPathTextTest, AppendingAnEmptyComponentAddsNothing) {
  EXPECT_EQ(pathByAppendingComponent("/d1", ""), "/d1");
  EXPECT_EQ(pathByAppendingComponent("/d1/", ""), "/d1/");
  EXPECT_EQ(pathByAppendingComponent("", ""), "");
}

TEST(RVXPathTextTest, AppendingASlashAddsNothing) {
  EXPECT_EQ(pathByAppendingComponent("/d1/", "/"), "/d1/");
  EXPECT_EQ(pathByAppendingComponent("d1", "/"), "d1");
}

TEST(RVXPathTextTest, AppendingAnExtensionJoinsWithOneDot) {
  EXPECT_EQ(pathByAppendingExtension("/d1/sha1/clip.mov", "sha1"), "/d1/sha1/clip.mov.sha1");
  EXPECT_EQ(pathByAppendingExtension("clip", "md5"), "clip.md5");
}

TEST(RVXPathTextTest, StandardizedRelativeNamesStay) {
  for (const char* path : {"../clip.mov", "clip.mov", "../../a/../b", "a/..", "(", "", "..", "."}) {
    EXPECT_EQ(standardizedPath(path), path);
  }
}

TEST(RVXPathTextTest, StandardizedDoubledSlashesAreOne) {
  EXPECT_EQ(standardizedPath("/a//b///c"), "/a/b/c");
  EXPECT_EQ(standardizedPath("..//clip.mov"), "../clip.mov");
  EXPECT_EQ(standardizedPath("//a"), "/a");
}

TEST(RVXPathTextTest, StandardizedSlashDotSlashIsOneSlash) {
  EXPECT_EQ(standardizedPath("/a/./b"), "/a/b");
  EXPECT_EQ(standardizedPath("../././b"), "../b");
}

TEST(RVXPathTextTest, StandardizedTrailingSlashIsDropped) {
  EXPECT_EQ(standardizedPath("/a/b/"), "/a/b");
  EXPECT_EQ(standardizedPath("a/"), "a");
  EXPECT_EQ(standardizedPath("/"), "/");
}

TEST(RVXPathTextTest, StandardizedParentsAreResolvedInAbsolutePathsOnly) {
  EXPECT_EQ(standardizedPath("/a/b/../c"), "/a/c");
  EXPECT_EQ(standardizedPath("/a/../../b"), "/b");
  EXPECT_EQ(standardizedPath("/.."), "/");
  EXPECT_EQ(standardizedPath("a/b/../c"), "a/b/../c");
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

#include <gtest/gtest.h>

#include "platform/files/RVXPathText.h"

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

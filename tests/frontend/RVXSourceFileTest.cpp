#include <gtest/gtest.h>

#include "frontend/RVXSourceFile.h"

TEST(RVXSourceFileTest, MovieHasTheNamesOfItsDestinations) {
  CopyJobOptions options;
  options.sourceArgument = "/V/A001/clip.mov";
  CopyPlan plan;
  plan.destinationPaths = {"/d1/", "/d2", ""};
  plan.destinationFilenames = {"clip.mov", "take.mov", "here.mov"};
  const auto file = RVXSourceFile::ofPlan(options, plan, 0);
  EXPECT_EQ(file.path, "/V/A001/clip.mov");
  EXPECT_EQ(file.hashListKey, "../clip.mov");
  ASSERT_EQ(file.copies.size(), 3U);
  EXPECT_EQ(file.copies[0].path, "/d1/clip.mov");
  EXPECT_EQ(file.copies[1].name, "take.mov");
  EXPECT_EQ(file.copies[1].path, "/d2/take.mov");
  EXPECT_EQ(file.copies[2].path, "here.mov");
}

TEST(RVXSourceFileTest, FrameHasItsOwnNameEverywhere) {
  CopyPlan plan;
  plan.sequence = RVXFileSequence::initWithIdentifier("/V/clip_8-10##.dpx");
  plan.destinationPaths = {"/d1"};
  plan.destinationFilenames = {"day3"};
  const auto file = RVXSourceFile::ofPlan(CopyJobOptions{}, plan, 2);
  EXPECT_EQ(file.path, "/V/clip_10.dpx");
  EXPECT_EQ(file.hashListKey, "../clip_10.dpx");
  ASSERT_EQ(file.copies.size(), 1U);
  EXPECT_EQ(file.copies[0].path, "/d1/clip_10.dpx");
}

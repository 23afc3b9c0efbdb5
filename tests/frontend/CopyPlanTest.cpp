#include <gtest/gtest.h>

#include <filesystem>

#include "frontend/CopyPlan.h"
#include "tests/support/Files.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class CopyPlanTest : public testing::Test {
 protected:
  // The plan of the destinations, of which the folders are made.
  CopyPlan planFor(const std::string& source, const Texts& destinations, int depth = 0) const {
    CopyJobOptions options;
    options.sourceArgument = source;
    options.destinationArguments = destinations;
    options.preserveDepth = depth;
    return planCopy(options, std::nullopt);
  }

  // A sequence of frames with these sizes, planned. A negative size is a frame that is missing.
  CopyPlan planOfFrames(const std::vector<int>& sizes) const {
    const TemporaryFolder folder;
    for (size_t i = 0; i < sizes.size(); ++i) {
      if (sizes[i] < 0) continue;
      const std::string frame = writeFile(folder.path("f_" + std::to_string(i + 1) + ".dpx"), "");
      fs::resize_file(frame, static_cast<uintmax_t>(sizes[i]));
    }
    CopyJobOptions options;
    options.isSequence = true;
    options.sourceArgument = folder.path("f_1-" + std::to_string(sizes.size()) + "#.dpx");
    options.destinationArguments = {mFolder.path("d/")};
    return planCopy(options, RVXFileSequence::initWithIdentifier(options.sourceArgument));
  }

  TemporaryFolder mFolder;
};

}  // namespace

TEST_F(CopyPlanTest, EachDestinationHasAFolderAndAName) {
  const std::string top = mFolder.path();
  mFolder.folder("existing");
  struct {
    std::string source, argument;
    int depth;
    std::string folder, name;
  } const rows[] = {
      {"/V/A001/clip.mov", top + "/a/b/", 0, top + "/a/b/", "clip.mov"},
      {"/V/A001/clip.mov", top + "/c/take2.mov", 0, top + "/c", "take2.mov"},
      {"/V/A001/clip.mov", top + "/file", 0, top, "file"},
      {"/V/A001/clip.mov", top + "/existing", 0, top, "existing"},
      {"/V/clip_1-9####.dpx", top + "/d/", 0, top + "/d/", "clip_1-9####.dpx"},
      {"clip.mov", "copy.mov", 0, "", "copy.mov"},
      {"clip.mov", "/copy.mov", 0, "/", "copy.mov"},
      {"/Volumes/CARD/DCIM/A001/clip.mov", top + "/d/take.mov", 2, top + "/d/DCIM/A001", "take.mov"},
      {"/V/DCIM/A001/clip_1-9####.dpx", top + "/d/", 1, top + "/d/A001", "clip_1-9####.dpx"},
      {"A001/clip.mov", top + "/d/", 3, top + "/d/A001", "clip.mov"},
      {"clip.mov", top + "/d/", 6, top + "/d/", "clip.mov"},
      {"/clip.mov", top + "/d/", 3, top + "/d/", "clip.mov"},
      {"/DCIM/A001/clip.mov", top + "/d/", 6, top + "/d/DCIM/A001", "clip.mov"},
  };
  for (const auto& row : rows) {
    // A second one is another of the same, after it.
    const CopyPlan plan = planFor(row.source, {row.argument, top + "/z/"}, row.depth);
    EXPECT_EQ(plan.destinationPaths.at(0), row.folder) << row.argument;
    EXPECT_EQ(plan.destinationFilenames.at(0), row.name) << row.argument;
    EXPECT_TRUE(plan.destinationPaths.at(1).starts_with(top + "/z/")) << row.argument;
    EXPECT_TRUE(row.folder.empty() || fs::is_directory(row.folder)) << row.argument;
  }
  EXPECT_FALSE(exists(top + "/c/take2.mov"));
  EXPECT_FALSE(exists(top + "/file"));
}

TEST_F(CopyPlanTest, MovieIsOneFileOfItsSize) {
  CopyJobOptions options;
  options.sourceArgument = writeFile(mFolder.path("clip.mov"), "");
  fs::resize_file(options.sourceArgument, 5'000'000'000);
  options.destinationArguments = {mFolder.path("d/")};
  const CopyPlan plan = planCopy(options, std::nullopt);
  EXPECT_FALSE(plan.sequence.has_value());
  EXPECT_EQ(plan.fileCount, 1U);
  EXPECT_EQ(plan.allFilesSize, 5'000'000'000U);
  EXPECT_EQ(plan.destinationPaths, Texts{mFolder.path("d/")});
}

TEST_F(CopyPlanTest, FourFramesOrMoreAreEstimatedByThreeThatAreEqual) {
  const std::vector<std::pair<std::vector<int>, uint64_t>> rows = {
      {{}, 0},
      {{10}, 10},
      {{10, 7, 10}, 27},
      {{10, 7, 10, 10}, 40},
      {{10, 7, 10, 7, 10}, 50},
      {{7, 10, 10, 10, 10}, 47},
      {{10, 10, 7, 10, 10}, 47},
      {{10, 10, 10, 10, 7}, 47},
      {{10, 10, -1, 10, 10}, 40},
  };
  for (const auto& [sizes, allFilesSize] : rows) {
    const CopyPlan plan = planOfFrames(sizes);
    EXPECT_EQ(plan.fileCount, sizes.size());
    EXPECT_EQ(plan.allFilesSize, allFilesSize) << testing::PrintToString(sizes);
  }
}

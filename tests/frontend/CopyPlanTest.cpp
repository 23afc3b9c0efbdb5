#include <gtest/gtest.h>

#include <array>
#include <filesystem>

#include "frontend/CopyPlan.h"
#include "tests/support/ChildProcess.h"
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
    CopyPlan plan;
    planDestinations(options, plan);
    return plan;
  }

  std::string relativeFolder(const std::string& source, int depth) const {
    return planFor(source, {mFolder.path("d/")}, depth).relativeFolder;
  }

  // A sequence of frames with these sizes, planned.
  CopyPlan planOfFrames(const std::vector<size_t>& sizes) const {
    for (size_t i = 0; i < sizes.size(); ++i) {
      const std::string frame = writeFile(mFolder.path("f_" + std::to_string(i + 1) + ".dpx"), "");
      fs::resize_file(frame, sizes[i]);
    }
    return planOfSequence(mFolder.path("f_1-" + std::to_string(sizes.size()) + "#.dpx"));
  }

  CopyPlan planOfSequence(const std::string& identifier) const {
    CopyJobOptions options;
    options.isSequence = true;
    options.sourceArgument = identifier;
    options.destinationArguments = {mFolder.path("d/")};
    return planCopy(options, RVXFileSequence::initWithIdentifier(identifier));
  }

  TemporaryFolder mFolder;
};

}  // namespace

TEST_F(CopyPlanTest, ArgumentWithASlashReceivesTheSourcesName) {
  const CopyPlan plan = planFor("/V/A001/clip.mov", {mFolder.path("backup/")});
  EXPECT_EQ(plan.destinationPaths, Texts{mFolder.path("backup/")});
  EXPECT_EQ(plan.destinationFilenames, Texts{"clip.mov"});
  EXPECT_TRUE(fs::is_directory(mFolder.path("backup")));
}

TEST_F(CopyPlanTest, ArgumentWithAFileNameReceivesThatName) {
  const CopyPlan plan = planFor("/V/A001/clip.mov", {mFolder.path("backup/take2.mov")});
  EXPECT_EQ(plan.destinationPaths, Texts{mFolder.path("backup")});
  EXPECT_EQ(plan.destinationFilenames, Texts{"take2.mov"});
  EXPECT_FALSE(exists(mFolder.path("backup/take2.mov")));
}

TEST_F(CopyPlanTest, ArgumentWithoutASlashNamesAFile) {
  const CopyPlan plan = planFor("/V/A001/clip.mov", {mFolder.path("backup")});
  EXPECT_EQ(plan.destinationPaths, Texts{mFolder.path()});
  EXPECT_EQ(plan.destinationFilenames, Texts{"backup"});
  EXPECT_FALSE(exists(mFolder.path("backup")));
}

TEST_F(CopyPlanTest, ExistingFolderWithoutASlashNamesAFileAllTheSame) {
  mFolder.folder("backup");
  EXPECT_EQ(planFor("/V/clip.mov", {mFolder.path("backup")}).destinationFilenames, Texts{"backup"});
}

TEST_F(CopyPlanTest, SequenceIdentifiersLastComponentIsTheFileName) {
  EXPECT_EQ(planFor("/V/clip_1-9####.dpx", {mFolder.path("d/")}).destinationFilenames,
            Texts{"clip_1-9####.dpx"});
}

TEST_F(CopyPlanTest, DestinationsKeepOrderAndDuplicates) {
  const CopyPlan plan =
      planFor("clip.mov", {mFolder.path("z/"), mFolder.path("b/c.mov"), mFolder.path("z/")});
  EXPECT_EQ(plan.destinationPaths, (Texts{mFolder.path("z/"), mFolder.path("b"), mFolder.path("z/")}));
  EXPECT_EQ(plan.destinationFilenames, (Texts{"clip.mov", "c.mov", "clip.mov"}));
}

TEST_F(CopyPlanTest, FileNameAloneIsInTheCurrentFolder) {
  const CopyPlan plan = planFor("clip.mov", {"copy.mov"});
  EXPECT_EQ(plan.destinationPaths, Texts{""});
  EXPECT_EQ(plan.destinationFilenames, Texts{"copy.mov"});
}

TEST_F(CopyPlanTest, FileInTheRootFolder) {
  const CopyPlan plan = planFor("clip.mov", {"/copy.mov"});
  EXPECT_EQ(plan.destinationPaths, Texts{"/"});
  EXPECT_EQ(plan.destinationFilenames, Texts{"copy.mov"});
}

TEST_F(CopyPlanTest, MissingIntermediateFoldersAreMade) {
  planFor("clip.mov", {mFolder.path("a/b/c/")});
  EXPECT_TRUE(fs::is_directory(mFolder.path("a/b/c")));
}

TEST_F(CopyPlanTest, DepthZeroRebuildsNothing) {
  EXPECT_EQ(relativeFolder("/Volumes/CARD/DCIM/A001/clip.mov", 0), "");
}

TEST_F(CopyPlanTest, DepthTwoRebuildsTwoFolders) {
  EXPECT_EQ(relativeFolder("/Volumes/CARD/DCIM/A001/clip.mov", 2), "DCIM/A001");
}

TEST_F(CopyPlanTest, RelativeSourceRunsOutOfFolders) {
  EXPECT_EQ(relativeFolder("A001/clip.mov", 3), "A001");
  EXPECT_EQ(relativeFolder("DCIM/A001/clip.mov", 6), "DCIM/A001");
  EXPECT_EQ(relativeFolder("clip.mov", 6), "");
}

TEST_F(CopyPlanTest, SourceInTheRootFolderAddsNothing) {
  const CopyPlan plan = planFor("/clip.mov", {mFolder.path("d/")}, 3);
  EXPECT_EQ(plan.destinationPaths, Texts{mFolder.path("d/")});
}

TEST_F(CopyPlanTest, DepthBeyondTheRootFolderRebuildsTheFoldersThatExist) {
  const CopyPlan plan = planFor("/DCIM/A001/clip.mov", {mFolder.path("d/")}, 6);
  EXPECT_EQ(plan.destinationPaths, Texts{mFolder.path("d/DCIM/A001")});
}

TEST_F(CopyPlanTest, AllDestinationsGetTheSameRebuiltFolders) {
  const CopyPlan plan =
      planFor("/V/DCIM/A001/clip.mov", {mFolder.path("d1/"), mFolder.path("d2/take.mov")}, 2);
  EXPECT_EQ(plan.destinationPaths, (Texts{mFolder.path("d1/DCIM/A001"), mFolder.path("d2/DCIM/A001")}));
  EXPECT_EQ(plan.destinationFilenames, (Texts{"clip.mov", "take.mov"}));
  EXPECT_TRUE(fs::is_directory(mFolder.path("d1/DCIM/A001")));
  EXPECT_TRUE(fs::is_directory(mFolder.path("d2/DCIM/A001")));
}

TEST_F(CopyPlanTest, FolderPartOfAnIdentifierCounts) {
  EXPECT_EQ(relativeFolder("/V/DCIM/A001/clip_1-9####.dpx", 1), "A001");
}

TEST_F(CopyPlanTest, FolderThatCantBeMadeEndsWith101AndEarlierOnesStay) {
  writeFile(mFolder.path("file"), "");
  const ChildEnd end = runInChild([&] {
    planFor("clip.mov", {mFolder.path("d1/"), mFolder.path("file/d2/"), mFolder.path("d3/")});
  });
  EXPECT_EQ(end.status, 101);
  EXPECT_EQ(end.output, "ERROR: Can't create destination folder #2 (" + mFolder.path("file/d2/") + ").\n");
  EXPECT_TRUE(fs::is_directory(mFolder.path("d1")));
  EXPECT_FALSE(exists(mFolder.path("d3")));
}

TEST_F(CopyPlanTest, FileInPlaceOfTheFolderEndsWith101AndNamesTheTargetFolder) {
  mFolder.folder("d");
  writeFile(mFolder.path("d/A001"), "");
  const ChildEnd end = runInChild([&] { planFor("/V/A001/clip.mov", {mFolder.path("d/x.mov")}, 1); });
  EXPECT_EQ(end.status, 101);
  EXPECT_EQ(end.output, "ERROR: Can't create destination folder #1 (" + mFolder.path("d/A001") + ").\n");
}

TEST_F(CopyPlanTest, MovieIsOneFileOfItsSize) {
  CopyJobOptions options;
  options.sourceArgument = writeFile(mFolder.path("clip.mov"), std::string(1000, 'x'));
  options.destinationArguments = {mFolder.path("d/")};
  const CopyPlan plan = planCopy(options, std::nullopt);
  EXPECT_FALSE(plan.sequence.has_value());
  EXPECT_EQ(plan.fileCount, 1U);
  EXPECT_EQ(plan.allFilesSize, 1000U);
  EXPECT_EQ(plan.destinationPaths, Texts{mFolder.path("d/")});
}

TEST_F(CopyPlanTest, MovieBeyondFourGibibytes) {
  CopyJobOptions options;
  options.sourceArgument = writeFile(mFolder.path("clip.mov"), "");
  fs::resize_file(options.sourceArgument, 5'000'000'000);
  CopyPlan plan;
  planSources(options, plan);
  EXPECT_EQ(plan.allFilesSize, 5'000'000'000U);
}

TEST_F(CopyPlanTest, MissingMovieCountsNothing) {
  CopyJobOptions options;
  options.sourceArgument = mFolder.path("missing");
  CopyPlan plan;
  planSources(options, plan);
  EXPECT_EQ(plan.fileCount, 1U);
  EXPECT_EQ(plan.allFilesSize, 0U);
}

TEST_F(CopyPlanTest, HundredFramesAreEstimatedByThree) {
  std::vector<size_t> sizes(100, 7);
  sizes[0] = sizes[50] = sizes[99] = 1000;
  const CopyPlan plan = planOfFrames(sizes);
  EXPECT_EQ(plan.fileCount, 100U);
  EXPECT_EQ(plan.allFilesSize, 100'000U);
}

TEST_F(CopyPlanTest, UnequalFirstMiddleOrLastFrameHasAllMeasured) {
  for (const size_t unequal : {0U, 50U, 99U}) {
    std::vector<size_t> sizes(100, 1000);
    sizes[unequal] = 7;
    EXPECT_EQ(planOfFrames(sizes).allFilesSize, 99'007U) << unequal;
  }
}

TEST_F(CopyPlanTest, FourFramesAreEstimated) {
  EXPECT_EQ(planOfFrames({10, 7, 10, 10}).allFilesSize, 40U);
}

TEST_F(CopyPlanTest, MiddleOfAnOddCountIsHalvedDown) {
  EXPECT_EQ(planOfFrames({10, 7, 10, 7, 10}).allFilesSize, 50U);
}

TEST_F(CopyPlanTest, ThreeFramesAreAlwaysMeasuredOneByOne) {
  EXPECT_EQ(planOfFrames({10, 10, 10}).allFilesSize, 30U);
  EXPECT_EQ(planOfFrames({10, 7, 10}).allFilesSize, 27U);
}

TEST_F(CopyPlanTest, OneFrame) {
  const CopyPlan plan = planOfFrames({10});
  EXPECT_EQ(plan.fileCount, 1U);
  EXPECT_EQ(plan.allFilesSize, 10U);
}

TEST_F(CopyPlanTest, MissingFramesCountNothing) {
  planOfFrames({10, 10, 10, 10, 10});
  fs::remove(mFolder.path("f_3.dpx"));
  EXPECT_EQ(planOfSequence(mFolder.path("f_1-5#.dpx")).allFilesSize, 40U);
}

TEST_F(CopyPlanTest, SequenceWithoutFrames) {
  const CopyPlan plan = planOfSequence(mFolder.path("f_1-0#.dpx"));
  EXPECT_EQ(plan.fileCount, 0U);
  EXPECT_EQ(plan.allFilesSize, 0U);
}

TEST_F(CopyPlanTest, SourceFolderIsTheArgumentWithoutItsName) {
  CopyJobOptions options;
  for (const auto& [argument, folder] : {std::array{"/V/A001/clip.mov", "/V/A001"},
                                         std::array{"clip.mov", ""}, std::array{"/clip.mov", "/"}}) {
    options.sourceArgument = argument;
    EXPECT_EQ(sourceFolder(options), folder) << argument;
  }
}

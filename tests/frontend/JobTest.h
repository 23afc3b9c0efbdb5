#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "formats/RVXHashList.h"
#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"
#include "tests/support/Files.h"
#include "tests/support/Waiting.h"

// A job of one source, in the folder "A001" of a temporary folder, and two destinations beside it.
class JobTest : public testing::Test {
 protected:
  JobTest() {
    mFolder.folder("A001");
    mOptions.destinationArguments = {mFolder.path("d1/"), mFolder.path("d2/take.mov")};
  }

  // The movie A001/clip.mov is the source.
  void setMovie(const std::string& bytes) {
    mOptions.sourceArgument = writeFile(mFolder.path("A001/clip.mov"), bytes);
  }

  // Frames of these sizes, A001/f_01.dpx and so on, are the source.
  void setFrames(const std::vector<size_t>& sizes) {
    for (size_t i = 1; i <= sizes.size(); ++i) writeFile(frame(i), patternBytes(sizes[i - 1], i));
    mOptions.isSequence = true;
    mOptions.sourceArgument = mFolder.path("A001/f_1-" + std::to_string(sizes.size()) + "##.dpx");
  }

  static std::string frameName(size_t number) { return "f_0" + std::to_string(number) + ".dpx"; }
  [[nodiscard]] std::string frame(size_t number) const { return mFolder.path("A001/" + frameName(number)); }

  // Plans the job and makes its folders.
  [[nodiscard]] CopyPlan plan() const {
    return planCopy(mOptions, mOptions.isSequence
                                  ? RVXFileSequence::initWithIdentifier(mOptions.sourceArgument)
                                  : std::nullopt);
  }

  const Deadline mDeadline;
  TemporaryFolder mFolder;
  CopyJobOptions mOptions;
  RVXHashList mHashList = RVXHashList::init();
};

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "check/RVXCard.h"
#include "check/RVXCheckOptions.h"
#include "check/RVXCheckStatus.h"
#include "check/RVXFileCheck.h"
#include "check/RVXHistories.h"
#include "check/RVXIgnoredNames.h"
#include "check/RVXInventory.h"
#include "check/RVXListWriting.h"
#include "check/RVXOutput.h"
#include "check/RVXPlaces.h"
#include "check/RVXReadFacts.h"
#include "check/RVXReaders.h"
#include "check/RVXReport.h"
#include "check/RVXResults.h"
#include "check/RVXVolumeTable.h"

// One run of the program: everything is examined, then read on all disks at once, and reported in order.
// Writes nothing but the output and the lists that are asked for. To be called by the main thread. The
// process must end right after run(), because after an interruption threads still read.
class RVXCheckRun {
 public:
  // Requires PATHs and a CARD that are there. `isOutputLost`: standard output is closed.
  RVXCheckRun(const RVXCheckOptions& options, bool isOutputLost);

  RVXCheckStatus run();

 private:
  void examine();
  void useLists(const std::vector<RVXNode>& lists, RVXHistories& histories);
  void startReaders();
  void readFile(RVXNode file);
  [[nodiscard]] int64_t totalBytes() const;
  [[nodiscard]] size_t atOnce(size_t disk) const;
  void followReaders(int64_t totalSize);
  void tellKnown();
  RVXCheckStatus finish();
  [[nodiscard]] RVXCheckStatus status(const RVXCounts& counts, const RVXCard::Judgement& card,
                                      bool areListsWritten) const;

  const RVXCheckOptions& mOptions;
  RVXIgnoredNames mIgnored;
  RVXInventory mInventory;
  RVXPlaces mPlaces{mInventory};
  RVXVolumeTable mVolumes;
  std::optional<RVXCard> mCard;
  std::vector<RVXNode> mListedFiles;  // to be read
  std::vector<RVXNode> mCardFiles;    // to be read
  std::vector<RVXNode> mOtherFiles;   // to be read for new lists
  RVXReadFacts mFacts;
  RVXListWriting mWriting;
  RVXOutput mOutput;
  RVXReport mReport;
  std::optional<RVXResults> mResults;
  std::optional<RVXFileCheck> mFileCheck;
  std::unique_ptr<RVXReaders> mReaders;  // last: its threads use all the others
};

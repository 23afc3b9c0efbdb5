#pragma once

#include <string>
#include <vector>

#include "check/RVXCard.h"
#include "check/RVXInventory.h"
#include "check/RVXOutput.h"
#include "check/RVXResults.h"

// The words for what was found. Used by the main thread.
class RVXReport {
 public:
  RVXReport(const RVXInventory& inventory, bool tellsGoodFiles, RVXOutput& output)
      : mInventory(inventory), mTellsGoodFiles(tellsGoodFiles), mOutput(output) {}

  // All lines of one file, folder or list. To be called in the order of their paths.
  void tell(const RVXResults::Told& told);

  void tellUnsafe(const RVXCard::Judgement& judgement);
  // The summary. `bytesRead` counts contents; the mount points are those that give no way past memory. With
  // `isInterrupted` it also says how many files were not checked.
  void tellSummary(const RVXCounts& counts, int64_t bytesRead,
                   const std::vector<std::string>& memoryMountPoints, bool isInterrupted);
  void tellCard(const std::string& card, size_t copies, const RVXCard::Judgement& judgement,
                bool isInterrupted);

 private:
  // A line about the item, with what there is to say of it in brackets.
  void addLine(const char* word, RVXNode node, const std::string& remark);
  void tellRenamed(RVXNode node);
  void tellVerdict(const RVXResults::Told& told);
  void tellChanged(const RVXResults::Told& told);
  [[nodiscard]] std::string textOf(const RVXFinding::Difference& difference) const;
  void tellNoRegularFile(RVXNode node);
  void tellBadLines(RVXNode list);
  [[nodiscard]] std::string printedList(uint32_t digest) const;

  const RVXInventory& mInventory;
  const bool mTellsGoodFiles;
  RVXOutput& mOutput;
  size_t mNextBadLines = 0;
};

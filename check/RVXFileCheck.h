#pragma once

#include <atomic>
#include <cstdint>
#include <set>

#include "check/RVXCard.h"
#include "check/RVXInventory.h"
#include "check/RVXReadFacts.h"
#include "check/RVXResults.h"
#include "check/RVXVolumeTable.h"

// Reads one file, listed or not, and passes on what was found. Used by any number of threads, each for other
// files.
class RVXFileCheck {
 public:
  RVXFileCheck(const RVXInventory& inventory, RVXVolumeTable& volumes, RVXResults& results,
               RVXReadFacts& facts)
      : mInventory(inventory), mVolumes(volumes), mResults(results), mFacts(facts) {}

  void checkListed(RVXNode file);
  void checkOnCard(RVXNode file, RVXCard& card);
  // Reads a file that is not checked, because a new list needs its digests.
  void readFacts(RVXNode file);

  // The bytes of all files that were read so far.
  [[nodiscard]] int64_t bytesRead() const { return mBytesRead.load(std::memory_order_relaxed); }

 private:
  RVXContents read(RVXNode file, const std::set<DigestKind>& kinds);
  [[nodiscard]] std::vector<RVXFinding::Difference> differences(RVXNode file,
                                                                const RVXContents& contents) const;

  const RVXInventory& mInventory;
  RVXVolumeTable& mVolumes;
  RVXResults& mResults;
  RVXReadFacts& mFacts;
  std::atomic<int64_t> mBytesRead{0};
};

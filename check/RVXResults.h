#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "check/RVXInventory.h"
#include "platform/threads/RVXMutex.h"

// The numbers of the summary line.
struct RVXCounts {
  int64_t files = 0;  // listed, each once
  int64_t ok = 0;
  int64_t changed = 0;  // digests
  int64_t missing = 0;
  int64_t unreadable = 0;
  int64_t unlisted = 0;
  int64_t badLines = 0;
  int64_t pending = 0;
};

// Collects the verdicts of the reading threads. Hands those that make a line to the main thread, in the order
// of the printed paths, each as soon as all before it are known.
class RVXResults {
 public:
  // Verdicts that the inventory has already need not be posted. `pendingOthers` further files are being read.
  RVXResults(RVXInventory& inventory, bool tellsGoodFiles, size_t pendingOthers);

  struct Checked {
    RVXVerdict verdict = RVXVerdict::ok;
    RVXFinding finding;
    int64_t size = 0;  // bytes that were read
    uint16_t volume = 0;
  };
  // Takes the verdict of a pending file, from any thread. Wakes the main thread when there is something to
  // do.
  void post(RVXNode node, Checked&& checked) RVX_EXCLUDES(mLock);
  // One of the further files has been read.
  void postOther() RVX_EXCLUDES(mLock);

  struct Told {
    RVXNode node = RVXNameTree::kNone;
    RVXFinding finding;
  };
  // The next one to tell; none where it is not known yet, or none is left.
  std::optional<Told> takeNext() RVX_EXCLUDES(mLock);

  // The run was interrupted: from now on nothing changes any more in the inventory, and takeNext() passes
  // over what is not known.
  void close() RVX_EXCLUDES(mLock);

  [[nodiscard]] bool isFinished() const RVX_EXCLUDES(mLock);
  [[nodiscard]] RVXCounts counts() const RVX_EXCLUDES(mLock);

 private:
  void sortNodes() RVX_REQUIRES(mLock);
  [[nodiscard]] bool mayTell(RVXNode node) const;
  [[nodiscard]] bool isSilent(RVXNode node) const;
  // Whether there are lines about it that don't depend on its verdict.
  [[nodiscard]] bool hasOtherLines(RVXNode node) const;
  void count(RVXNode node) RVX_REQUIRES(mLock);
  void passSilent() RVX_REQUIRES(mLock);
  [[nodiscard]] bool isNextKnown() const RVX_REQUIRES(mLock);

  RVXInventory& mInventory;
  const bool mTellsGoodFiles;
  mutable RVXMutex mLock;
  std::vector<RVXNode> mOrder RVX_GUARDED_BY(mLock);
  size_t mNext RVX_GUARDED_BY(mLock) = 0;  // in mOrder
  size_t mPendingOthers RVX_GUARDED_BY(mLock);
  RVXCounts mCounts RVX_GUARDED_BY(mLock);
  bool mIsClosed RVX_GUARDED_BY(mLock) = false;
};

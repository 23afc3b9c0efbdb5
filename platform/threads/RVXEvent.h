#pragma once

#include <chrono>
#include <cstddef>

#include "platform/threads/RVXMutex.h"

// Tells a polling thread at once that there is something to see. Any thread may signal; one thread waits.
class RVXEvent {
 public:
  // Of the first `signals` signals only the last one counts.
  explicit RVXEvent(size_t signals = 1) : mAwaited(signals) {}

  void signal() RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    if (--mAwaited > 0) return;
    mAwaited = 1;
    mIsSignalled = true;
    mCondition.signal();
  }

  // Returns at once if there was a signal that counts since the last wait, else at the next one, after
  // `longest`, or sooner.
  void waitAtMost(std::chrono::milliseconds longest) RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    if (!mIsSignalled) mCondition.waitAtMost(longest);
    mIsSignalled = false;
  }

 private:
  RVXCondition mCondition{"RVXEventCondition"};
  size_t mAwaited RVX_GUARDED_BY(mCondition);  // signals up to the next one that counts
  bool mIsSignalled RVX_GUARDED_BY(mCondition) = false;
};

#pragma once

#include <chrono>

#include "platform/threads/RVXMutex.h"

// Lets a thread that polls hear at once that there is something to see. Any thread may signal; one waits.
class RVXEvent {
 public:
  void signal() RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    mIsSignalled = true;
    mCondition.signal();
  }

  // Returns as soon as it was signalled since the last wait, else after `longest` or sooner.
  void waitAtMost(std::chrono::milliseconds longest) RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    if (!mIsSignalled) mCondition.waitAtMost(longest);
    mIsSignalled = false;
  }

 private:
  RVXCondition mCondition{"RVXEventCondition"};
  bool mIsSignalled RVX_GUARDED_BY(mCondition) = false;
};

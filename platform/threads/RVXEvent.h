#pragma once

#include <chrono>

#include "platform/threads/RVXMutex.h"

// Tells a polling thread at once that there is something to see. Any thread may signal; one thread waits.
class RVXEvent {
 public:
  void signal() RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    mIsSignalled = true;
    mCondition.signal();
  }

  // Returns at once if there was a signal since the last wait, else at the next one, after `longest`, or
  // sooner.
  void waitAtMost(std::chrono::milliseconds longest) RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    if (!mIsSignalled) mCondition.waitAtMost(longest);
    mIsSignalled = false;
  }

 private:
  RVXCondition mCondition{"RVXEventCondition"};
  bool mIsSignalled RVX_GUARDED_BY(mCondition) = false;
};

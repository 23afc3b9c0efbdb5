#pragma once

#include <algorithm>

#include "copy/RVXCopyBufferManager.h"

// What the tests see and do beyond the public operations.
struct RVXCopyBufferManagerProbe {
  // The number of buffers that are not yet released.
  static size_t heldBuffers(RVXCopyBufferManager& manager) {
    const RVXMutexLock lock(manager.mBuffersLock);
    return manager.mBuffers.size();
  }

  // By how many buffers the slowest consumer is behind the reader.
  static int64_t largestLag(RVXCopyBufferManager& manager) {
    const RVXMutexLock lock(manager.mCountsLock);
    int64_t slowest = manager.mFinishedDigestCount;
    for (const int32_t count : manager.mFinishedWriteCounts) slowest = std::min<int64_t>(slowest, count);
    return manager.mFinishedReadCount - slowest;
  }

  static void abort(RVXCopyBufferManager& manager) {
    const RVXConditionLock lock(manager.mBuffersCondition);
    manager.mAbort = true;
    manager.mBuffersCondition.broadcast();
  }

  static const std::string& conditionName(const RVXCopyBufferManager& manager) {
    return manager.mBuffersCondition.name();
  }
};

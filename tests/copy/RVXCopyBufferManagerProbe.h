#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "copy/RVXCopyBufferManager.h"

// What the tests see and do beyond the public operations.
struct RVXCopyBufferManagerProbe {
  // What the manager counts and holds, all at one moment.
  struct State {
    int64_t readCount = 0;
    int64_t slowestCount = 0;   // of the digest's and the writers'
    std::vector<int32_t> held;  // the numbers of the buffers that are not yet released
    uint64_t bytesWritten = 0;
  };

  static State state(RVXCopyBufferManager& manager) {
    const RVXMutexLock buffersLock(manager.mBuffersLock);
    const RVXMutexLock countsLock(manager.mCountsLock);
    State state{manager.mFinishedReadCount, manager.mFinishedDigestCount, {}, manager.mCountBytes};
    for (const int32_t count : manager.mFinishedWriteCounts) {
      state.slowestCount = std::min<int64_t>(state.slowestCount, count);
    }
    for (const auto& [number, buffer] : manager.mBuffers) state.held.push_back(number);
    return state;
  }

  // The first half of a finished-report: the buffer is counted, the release still to come.
  static void countDigest(RVXCopyBufferManager& manager) {
    const RVXMutexLock lock(manager.mCountsLock);
    ++manager.mFinishedDigestCount;
  }

  static void countWriting(RVXCopyBufferManager& manager, size_t index) {
    const RVXMutexLock lock(manager.mCountsLock);
    ++manager.mFinishedWriteCounts[index];
  }

  static void abort(RVXCopyBufferManager& manager) {
    const RVXConditionLock lock(manager.mBuffersCondition);
    manager.mAbort = true;
    manager.mBuffersCondition.broadcast();
  }
};

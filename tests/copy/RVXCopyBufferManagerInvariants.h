#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

#include "tests/copy/RVXCopyBufferManagerProbe.h"

// What holds at every moment of every run, whatever the threads do.

// The reader goes on while nobody is more than this behind it, and one buffer more is what it then hands in.
inline constexpr int64_t kMostLagToGoOn = 8;
inline constexpr int64_t kMostLag = kMostLagToGoOn + 1;

// How many buffers exist at once. A consumer counts a buffer as finished before it releases it. Between the
// two the reader may already go on, so one finished buffer may still be held besides the kMostLag unfinished
// ones. It is never more than one: the slowest consumer can't finish another before it has released this one.
inline constexpr size_t kMostHeld = 10;
// A reader that first releases what is finished, and then makes its buffer, never meets that moment.
inline constexpr size_t kMostHeldByReleasingReader = 9;

// `lengths` are those of all the buffers of the run, in their order.
inline void expectInvariants(const RVXCopyBufferManagerProbe::State& state,
                             const std::vector<size_t>& lengths) {
  EXPECT_LE(state.readCount - state.slowestCount, kMostLag);
  EXPECT_LE(state.held.size(), kMostHeld);

  const int64_t released = state.held.empty() ? state.readCount : state.held.front() - 1;
  std::vector<int32_t> allBehindReleased(static_cast<size_t>(state.readCount - released));
  std::iota(allBehindReleased.begin(), allBehindReleased.end(), static_cast<int32_t>(released + 1));
  EXPECT_EQ(state.held, allBehindReleased);
  EXPECT_LE(released, state.slowestCount);
  EXPECT_GE(released, state.slowestCount - 1);
  EXPECT_EQ(state.bytesWritten, std::accumulate(lengths.begin(), lengths.begin() + released, size_t{0}));
}

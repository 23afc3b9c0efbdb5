#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "platform/files/RVXBlock.h"
#include "platform/files/RVXRecoveringReader.h"
#include "platform/threads/RVXOperationQueue.h"

// Reads a file to its end in chunks, of which at most two are in memory, and hands each to all takers: while
// these work on one, side by side, the next is read. Used by one thread; the takers run on any.
class RVXChunkReader {
 public:
  // Gets the chunks in order, one at a time. It must not throw.
  using Taker = std::function<void(std::span<const std::byte>)>;

  // `chunkSize` is in bytes. The reader and the recovery must live as long as this.
  RVXChunkReader(RVXRecoveringReader& reader, RVXReadRecovery& recovery, size_t chunkSize,
                 std::vector<Taker> takers)
      : mReader(reader), mRecovery(recovery), mChunkSize(chunkSize), mTakers(std::move(takers)) {}

  // Reads the next chunk and hands it on. False when that was the last one, with which the takers are then
  // done. A block that can't be read is the recovery's.
  bool readNext();

  [[nodiscard]] uint64_t bytesRead() const { return mBytesRead; }

 private:
  RVXRecoveringReader& mReader;
  RVXReadRecovery& mRecovery;
  const size_t mChunkSize;
  const std::vector<Taker> mTakers;
  std::array<RVXBlock, 2> mChunks;  // in turn; a small file needs only one
  size_t mCurrent = 0;
  uint64_t mBytesRead = 0;
  RVXOperationQueue mQueue;  // last: its operations end before what they use is destroyed
};

#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "platform/files/RVXBlock.h"
#include "platform/threads/RVXMutex.h"

// The bounded hand-off between the threads of one file copy: one reader hands in buffers in order; one digest
// thread and N writers each see every buffer once, in order, in place (buffers are never copied). A buffer is
// released, and its length counted in bytesWritten(), when all of them have finished it.
//
// Buffers have the sequence numbers 1, 2, 3 … A consumer whose count is c has finished the buffers 1 to c and
// next wants buffer c + 1. The reader may run at most kMostLag buffers ahead of the slowest consumer, so at
// most kMostLag + 1 buffers are unfinished at once. (One more may exist for the moment between a consumer's
// report and the release that follows it.)
//
// Locks, outermost first: the condition's mutex, mBuffersLock, mCountsLock; a released buffer takes the lock
// of the blocks' memory inside mBuffersLock. The reader does not wait on the condition: it polls
// willAcceptReadBuffer(). One manager serves one file copy; there is no reset.
class RVXCopyBufferManager {
 public:
  static constexpr int64_t kMostLag = 8;

  // A manager without writers.
  static std::unique_ptr<RVXCopyBufferManager> init();
  // A manager for `numberOfWriterThreads` writers; without writers when that is below 1.
  static std::unique_ptr<RVXCopyBufferManager> initWithNumberOfWriterThreads(int64_t numberOfWriterThreads);

  // For the reader, before it reads the next block: true while no consumer lags by more than kMostLag
  // buffers.
  [[nodiscard]] bool willAcceptReadBuffer() RVX_EXCLUDES(mCountsLock);

  // For the reader: hands in the next buffer, of any length, and its ownership.
  void addReadBuffer(RVXBlock buffer) RVX_EXCLUDES(mBuffersCondition, mBuffersLock);

  // For the reader: the last buffer has been handed in.
  void setFinishedReading() RVX_EXCLUDES(mBuffersCondition);

  // For the digest thread: waits for its next buffer. Null once the stream has ended, and from then on.
  // The manager keeps the ownership; the buffer stays valid until finishedDigest().
  [[nodiscard]] const RVXBlock* nextBufferForDigest() RVX_EXCLUDES(mBuffersCondition);

  // For the digest thread: done with the buffer that it last received.
  void finishedDigest() RVX_EXCLUDES(mBuffersLock, mCountsLock);

  // The same two for writer number `index`, 0 <= index < number of writers (not checked), called only by the
  // one thread that has this number.
  [[nodiscard]] const RVXBlock* nextBufferForWritingInThread(int64_t index) RVX_EXCLUDES(mBuffersCondition);
  void finishedWritingInThread(int64_t index) RVX_EXCLUDES(mBuffersLock, mCountsLock);

  // Releases every buffer that all consumers have finished. finishedDigest() and finishedWritingInThread()
  // call it.
  void cleanupBuffers() RVX_EXCLUDES(mBuffersLock, mCountsLock);

  // The total length in bytes of all buffers released so far: the progress of the copy, and its completion
  // test. From any thread.
  [[nodiscard]] uint64_t bytesWritten() const { return mCountBytes.load(std::memory_order_relaxed); }

 private:
  friend struct RVXCopyBufferManagerProbe;  // lets the tests abort and count

  RVXCopyBufferManager() = default;

  [[nodiscard]] int32_t finishedWriteCount(int64_t index) RVX_EXCLUDES(mCountsLock);
  [[nodiscard]] std::vector<int32_t> finishedWriteCounts() RVX_EXCLUDES(mCountsLock);

  // Both are asked for a consumer that has finished `count` buffers. The first is true while its next buffer
  // is not there but may still come.
  [[nodiscard]] bool mustWaitForBufferAfter(int64_t count) const RVX_REQUIRES(mBuffersCondition);
  const RVXBlock* bufferAfter(int32_t count) RVX_EXCLUDES(mBuffersLock);

  int64_t mNumWriteThreads = 0;

  // Written by the reader alone, under mBuffersLock. Relaxed: a thread that sees a new count and then takes
  // mBuffersLock finds the buffer, and nothing else depends on the count.
  std::atomic<int64_t> mFinishedReadCount{0};

  // Written by the digest thread alone, under mCountsLock. Release: an increment says that the digest thread
  // has let go of the bytes; cleanupBuffers() reads it without mCountsLock (acquire) and frees them.
  std::atomic<int64_t> mFinishedDigestCount{0};

  RVXMutex mCountsLock RVX_ACQUIRED_AFTER(mBuffersLock);
  std::vector<int32_t> mFinishedWriteCounts RVX_GUARDED_BY(mCountsLock);

  RVXMutex mBuffersLock RVX_ACQUIRED_AFTER(mBuffersCondition);
  RVXCondition mBuffersCondition{"RVXCopyBufferManagerCondition"};
  std::map<int32_t, RVXBlock> mBuffers RVX_GUARDED_BY(mBuffersLock);

  // Nothing sets it. Consumers test it all the same: setting it, with a broadcast, would end them all.
  std::atomic<bool> mAbort{false};
  bool mFinish RVX_GUARDED_BY(mBuffersCondition) = false;

  // Only compared and printed, hence relaxed.
  std::atomic<uint64_t> mCountBytes{0};
};

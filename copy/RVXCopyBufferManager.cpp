#include "copy/RVXCopyBufferManager.h"

#include <algorithm>
#include <utility>

std::unique_ptr<RVXCopyBufferManager> RVXCopyBufferManager::init() {
  return std::unique_ptr<RVXCopyBufferManager>(new RVXCopyBufferManager);
}

std::unique_ptr<RVXCopyBufferManager> RVXCopyBufferManager::initWithNumberOfWriterThreads(
    int64_t numberOfWriterThreads) {
  auto manager = init();
  manager->mNumWriteThreads = numberOfWriterThreads;
  const RVXMutexLock lock(manager->mCountsLock);
  manager->mFinishedWriteCounts.assign(static_cast<size_t>(std::max<int64_t>(manager->mNumWriteThreads, 0)),
                                       0);
  return manager;
}

bool RVXCopyBufferManager::willAcceptReadBuffer() {
  const RVXMutexLock lock(mCountsLock);
  const int64_t leastCount = mFinishedReadCount.load(std::memory_order_relaxed) - kMostLag;
  const auto lags = [leastCount](int64_t count) { return count < leastCount; };
  return std::none_of(mFinishedWriteCounts.begin(), mFinishedWriteCounts.end(), lags) &&
         !lags(mFinishedDigestCount.load(std::memory_order_relaxed));
}

void RVXCopyBufferManager::addReadBuffer(RVXBlock buffer) {
  {
    const RVXMutexLock lock(mBuffersLock);
    const int64_t number = mFinishedReadCount.fetch_add(1, std::memory_order_relaxed) + 1;
    mBuffers.emplace(static_cast<int32_t>(number), std::move(buffer));
  }
  const RVXConditionLock lock(mBuffersCondition);
  mBuffersCondition.broadcast();
}

void RVXCopyBufferManager::setFinishedReading() {
  const RVXConditionLock lock(mBuffersCondition);
  mFinish = true;
  mBuffersCondition.broadcast();
}

const RVXBlock* RVXCopyBufferManager::nextBufferForDigest() {
  const RVXConditionLock lock(mBuffersCondition);
  int64_t count = mFinishedDigestCount.load(std::memory_order_relaxed);
  while (mustWaitForBufferAfter(count)) {
    mBuffersCondition.wait();
    count = mFinishedDigestCount.load(std::memory_order_relaxed);
  }
  return bufferAfter(static_cast<int32_t>(count));
}

const RVXBlock* RVXCopyBufferManager::nextBufferForWritingInThread(int64_t index) {
  const RVXConditionLock lock(mBuffersCondition);
  const int32_t count = finishedWriteCount(index);
  while (mustWaitForBufferAfter(count)) mBuffersCondition.wait();
  return bufferAfter(count);
}

void RVXCopyBufferManager::finishedDigest() {
  {
    const RVXMutexLock lock(mCountsLock);
    mFinishedDigestCount.fetch_add(1, std::memory_order_release);
  }
  cleanupBuffers();
}

void RVXCopyBufferManager::finishedWritingInThread(int64_t index) {
  {
    const RVXMutexLock lock(mCountsLock);
    ++mFinishedWriteCounts[static_cast<size_t>(index)];
  }
  cleanupBuffers();
}

void RVXCopyBufferManager::cleanupBuffers() {
  const RVXMutexLock lock(mBuffersLock);
  const std::vector<int32_t> writeCounts = finishedWriteCounts();
  std::erase_if(mBuffers, [&](const auto& entry) {
    const auto& [number, buffer] = entry;
    const auto isBehind = [number = number](int64_t count) { return count < number; };
    const bool isInUse = std::any_of(writeCounts.begin(), writeCounts.end(), isBehind) ||
                         isBehind(mFinishedDigestCount.load(std::memory_order_acquire));
    if (!isInUse) mCountBytes.fetch_add(buffer.length(), std::memory_order_relaxed);
    return !isInUse;
  });
}

int32_t RVXCopyBufferManager::finishedWriteCount(int64_t index) {
  const RVXMutexLock lock(mCountsLock);
  return mFinishedWriteCounts[static_cast<size_t>(index)];
}

std::vector<int32_t> RVXCopyBufferManager::finishedWriteCounts() {
  const RVXMutexLock lock(mCountsLock);
  return mFinishedWriteCounts;
}

bool RVXCopyBufferManager::mustWaitForBufferAfter(int64_t count) const {
  // The end is looked at only when the consumer has caught up: what was handed in is still delivered.
  return mFinishedReadCount.load(std::memory_order_relaxed) <= count && !mFinish && !mAbort;
}

const RVXBlock* RVXCopyBufferManager::bufferAfter(int32_t count) {
  const RVXMutexLock lock(mBuffersLock);
  const auto found = mBuffers.find(count + 1);
  // The reference outlives the lock: nobody releases the buffer before its consumer has reported it finished,
  // and a map's elements stay where they are.
  return found == mBuffers.end() || mAbort ? nullptr : &found->second;
}

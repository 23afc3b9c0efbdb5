#include "platform/threads/RVXOperationQueue.h"

#include <utility>

RVXOperationQueue::~RVXOperationQueue() {
  waitUntilAllOperationsAreFinished();
  const RVXConditionLock lock(mCondition);
  mIsClosing = true;
  mCondition.broadcast();
}

void RVXOperationQueue::addOperation(std::function<void()> operation) {
  bool needsWorker = false;
  {
    const RVXConditionLock lock(mCondition);
    mWaiting.push_back(std::move(operation));
    ++mUnfinished;
    mCondition.broadcast();
    needsWorker = takesAnotherWorker();
    if (needsWorker) ++mIdleWorkers;
  }
  if (needsWorker) mWorkers.emplace_back([this] { work(); });
}

void RVXOperationQueue::waitUntilAllOperationsAreFinished() {
  const RVXConditionLock lock(mCondition);
  while (mUnfinished > 0) {
    if (mWaiting.empty()) {
      mCondition.wait();
    } else {
      runNext();
    }
  }
}

bool RVXOperationQueue::takesAnotherWorker() {
  // One operation is left to the thread that will wait, unless it would be the only one.
  const size_t forWaitingThread = mWorkers.empty() ? 0 : 1;
  return mWaiting.size() > mIdleWorkers + forWaitingThread;
}

void RVXOperationQueue::work() {
  const RVXConditionLock lock(mCondition);
  while (true) {
    while (mWaiting.empty() && !mIsClosing) mCondition.wait();
    if (mWaiting.empty()) return;
    --mIdleWorkers;
    runNext();
    ++mIdleWorkers;
  }
}

void RVXOperationQueue::runNext() {
  std::function<void()> operation = std::move(mWaiting.front());
  mWaiting.pop_front();
  mCondition.unlock();
  operation();
  mCondition.lock();
  --mUnfinished;
  if (mUnfinished == 0) mCondition.broadcast();
}

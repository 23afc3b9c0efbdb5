#include "platform/RVXOperationQueue.h"

#include <utility>

RVXOperationQueue::~RVXOperationQueue() {
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
    needsWorker = mUnfinished > mWorkers.size() && mWorkers.size() < kMostWorkers;
    mCondition.broadcast();
  }
  if (needsWorker) mWorkers.emplace_back([this] { work(); });
}

void RVXOperationQueue::waitUntilAllOperationsAreFinished() {
  const RVXConditionLock lock(mCondition);
  while (mUnfinished > 0) mCondition.wait();
}

void RVXOperationQueue::work() {
  while (true) {
    std::function<void()> operation;
    {
      const RVXConditionLock lock(mCondition);
      while (mWaiting.empty() && !mIsClosing) mCondition.wait();
      if (mWaiting.empty()) return;
      operation = std::move(mWaiting.front());
      mWaiting.pop_front();
    }
    operation();
    const RVXConditionLock lock(mCondition);
    --mUnfinished;
    if (mUnfinished == 0) mCondition.broadcast();
  }
}

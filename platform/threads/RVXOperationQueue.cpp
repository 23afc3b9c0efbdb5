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
  while (auto operation = nextWhileUnfinished()) run(std::move(operation), 0);
}

bool RVXOperationQueue::takesAnotherWorker() {
  // One operation is left for the thread that will wait, unless it is the only one.
  const size_t forWaitingThread = mWorkers.empty() ? 0 : 1;
  return mWaiting.size() > mIdleWorkers + forWaitingThread;
}

void RVXOperationQueue::work() {
  while (auto operation = nextForWorker()) run(std::move(operation), 1);
}

std::function<void()> RVXOperationQueue::nextWhileUnfinished() {
  const RVXConditionLock lock(mCondition);
  while (mWaiting.empty() && mUnfinished > 0) mCondition.wait();
  return takeNext();
}

std::function<void()> RVXOperationQueue::nextForWorker() {
  const RVXConditionLock lock(mCondition);
  while (mWaiting.empty() && !mIsClosing) mCondition.wait();
  --mIdleWorkers;
  return takeNext();
}

std::function<void()> RVXOperationQueue::takeNext() {
  if (mWaiting.empty()) return nullptr;
  std::function<void()> operation = std::move(mWaiting.front());
  mWaiting.pop_front();
  return operation;
}

void RVXOperationQueue::run(std::function<void()> operation, size_t idleWorkers) {
  operation();
  operation = nullptr;  // destroyed before the adder hears of its end
  const RVXConditionLock lock(mCondition);
  mIdleWorkers += idleWorkers;
  --mUnfinished;
  if (mUnfinished == 0) mCondition.broadcast();
}

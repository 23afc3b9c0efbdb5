#include "platform/threads/RVXOperationQueue.h"

#include <utility>

void RVXOperationQueue::addOperation(std::function<void()> operation) {
  bool needsWorker = false;
  {
    const RVXConditionLock lock(mCondition);
    mWaiting.push_back(std::move(operation));
    ++mUnfinished;
    needsWorker = takesAnotherWorker();
    if (needsWorker) ++mStartingWorkers;
  }
  if (needsWorker) mWorkers.emplace_back([this] { work(); });
}

void RVXOperationQueue::waitUntilAllOperationsAreFinished() {
  while (auto operation = nextWhileUnfinished()) run(std::move(operation));
  mWorkers.clear();
}

bool RVXOperationQueue::takesAnotherWorker() {
  // One operation is left for the thread that will wait, unless it is the only one.
  const size_t forWaitingThread = mWorkers.empty() ? 0 : 1;
  return mWaiting.size() > mStartingWorkers + forWaitingThread;
}

void RVXOperationQueue::work() {
  std::function<void()> operation;
  {
    const RVXConditionLock lock(mCondition);
    --mStartingWorkers;
    operation = takeNext();
  }
  while (operation) {
    run(std::move(operation));
    const RVXConditionLock lock(mCondition);
    operation = takeNext();
  }
}

std::function<void()> RVXOperationQueue::nextWhileUnfinished() {
  const RVXConditionLock lock(mCondition);
  while (mWaiting.empty() && mUnfinished > 0) mCondition.wait();
  return takeNext();
}

std::function<void()> RVXOperationQueue::takeNext() {
  if (mWaiting.empty()) return nullptr;
  std::function<void()> operation = std::move(mWaiting.front());
  mWaiting.pop_front();
  return operation;
}

void RVXOperationQueue::run(std::function<void()> operation) {
  operation();
  operation = nullptr;  // destroyed before the adder hears of its end
  const RVXConditionLock lock(mCondition);
  --mUnfinished;
  if (mUnfinished == 0) mCondition.signal();
}

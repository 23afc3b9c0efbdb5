#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <list>

#include "platform/threads/RVXMutex.h"
#include "platform/threads/RVXThread.h"

// Runs operations on worker threads, all at the same time: there is no limit. Used by one thread, which adds
// operations and then waits. While it waits it runs an operation itself, which saves a thread, and a wake-up
// for each operation. So the first operation starts at once, but one of several may start only when the wait
// begins.
class RVXOperationQueue {
 public:
  RVXOperationQueue() = default;
  // Waits until all operations have finished.
  ~RVXOperationQueue();
  RVXOperationQueue(const RVXOperationQueue&) = delete;
  RVXOperationQueue& operator=(const RVXOperationQueue&) = delete;

  // Adds an operation, which may start at once. It must not throw, and what it refers to must live until it
  // has finished. After the next wait it is destroyed, and what it did is visible to the adder.
  void addOperation(std::function<void()> operation) RVX_EXCLUDES(mCondition);

  void waitUntilAllOperationsAreFinished() RVX_EXCLUDES(mCondition);

 private:
  void work() RVX_EXCLUDES(mCondition);
  bool takesAnotherWorker() RVX_REQUIRES(mCondition);
  // The next operation; an empty function when there is nothing more to wait for.
  std::function<void()> nextWhileUnfinished() RVX_EXCLUDES(mCondition);
  std::function<void()> nextForWorker() RVX_EXCLUDES(mCondition);
  std::function<void()> takeNext() RVX_REQUIRES(mCondition);
  // Runs it; then `idleWorkers` more workers are idle.
  void run(std::function<void()> operation, size_t idleWorkers) RVX_EXCLUDES(mCondition);

  RVXCondition mCondition{"RVXOperationQueueCondition"};
  std::deque<std::function<void()>> mWaiting RVX_GUARDED_BY(mCondition);
  size_t mUnfinished RVX_GUARDED_BY(mCondition) = 0;  // waiting or running
  size_t mIdleWorkers RVX_GUARDED_BY(mCondition) = 0;
  bool mIsClosing RVX_GUARDED_BY(mCondition) = false;
  std::list<RVXThread> mWorkers;  // last: they end before what they use is destroyed
};

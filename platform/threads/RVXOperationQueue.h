#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <list>

#include "platform/threads/RVXMutex.h"
#include "platform/threads/RVXThread.h"

// Runs operations on worker threads, as many at once as there are: no limit is set. Used by one thread, which
// adds and then waits; while it waits it runs an operation as well, so that a thread less is needed, and one
// wake-up less for each operation. Only then, therefore, all are sure to be running; the first starts at
// once.
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
  // The next operation; none where there is nothing to wait for any more.
  std::function<void()> nextWhileUnfinished() RVX_EXCLUDES(mCondition);
  std::function<void()> nextForWorker() RVX_EXCLUDES(mCondition);
  std::function<void()> takeNext() RVX_REQUIRES(mCondition);
  // Runs it, after which there are so many more idle workers.
  void run(std::function<void()> operation, size_t idleWorkers) RVX_EXCLUDES(mCondition);

  RVXCondition mCondition{"RVXOperationQueueCondition"};
  std::deque<std::function<void()>> mWaiting RVX_GUARDED_BY(mCondition);
  size_t mUnfinished RVX_GUARDED_BY(mCondition) = 0;  // waiting or running
  size_t mIdleWorkers RVX_GUARDED_BY(mCondition) = 0;
  bool mIsClosing RVX_GUARDED_BY(mCondition) = false;
  std::list<RVXThread> mWorkers;  // last: ended before what they use goes
};

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
  ~RVXOperationQueue() { waitUntilAllOperationsAreFinished(); }
  RVXOperationQueue(const RVXOperationQueue&) = delete;
  RVXOperationQueue& operator=(const RVXOperationQueue&) = delete;

  // Adds an operation, which may start at once. It must not throw, and what it refers to must live until it
  // has finished. After the next wait it is destroyed, and what it did is visible to the adder.
  void addOperation(std::function<void()> operation) RVX_EXCLUDES(mCondition);

  void waitUntilAllOperationsAreFinished() RVX_EXCLUDES(mCondition);

 private:
  // A worker ends when nothing waits: an idle one would have to be woken only to end.
  void work() RVX_EXCLUDES(mCondition);
  bool takesAnotherWorker() RVX_REQUIRES(mCondition);
  // The next operation; an empty function when there is nothing more to wait for.
  std::function<void()> nextWhileUnfinished() RVX_EXCLUDES(mCondition);
  std::function<void()> takeNext() RVX_REQUIRES(mCondition);
  void run(std::function<void()> operation) RVX_EXCLUDES(mCondition);

  RVXCondition mCondition{"RVXOperationQueueCondition"};  // only the adder waits for it
  std::deque<std::function<void()>> mWaiting RVX_GUARDED_BY(mCondition);
  size_t mUnfinished RVX_GUARDED_BY(mCondition) = 0;  // waiting or running
  size_t mStartingWorkers RVX_GUARDED_BY(mCondition) = 0;
  std::list<RVXThread> mWorkers;  // last: they end before what they use is destroyed
};

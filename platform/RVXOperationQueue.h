#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <list>

#include "platform/RVXCondition.h"
#include "platform/RVXThread.h"

// Runs operations on worker threads. Used by one thread, which adds and then waits; while it waits it runs
// operations as well, so that a thread less is needed, and one wake-up less for each operation.
//
// Its user sets no limit on how many run at once. The queue itself runs at most kMostAtOnce; further
// operations wait their turn, in order. The first one added with addOperation() starts at once, also without
// the wait.
class RVXOperationQueue {
 public:
  // Three checksum readers hold 24 MiB of chunks, which with the rest of the process stays below 32 MiB
  // however many files are verified at once.
  static constexpr size_t kMostAtOnce = 3;

  RVXOperationQueue() = default;
  // Waits until all operations have finished.
  ~RVXOperationQueue();
  RVXOperationQueue(const RVXOperationQueue&) = delete;
  RVXOperationQueue& operator=(const RVXOperationQueue&) = delete;

  // Adds an operation, which may start at once. It must not throw, and what it refers to must live until it
  // has finished. What it does is visible to the adder after the next wait.
  void addOperation(std::function<void()> operation) RVX_EXCLUDES(mCondition);

  // The same for one that the adder is about to wait for, with nothing to do until then: no worker is started
  // for it. It runs in that wait, or sooner where a worker is idle.
  void addLastOperation(std::function<void()> operation) RVX_EXCLUDES(mCondition);

  void waitUntilAllOperationsAreFinished() RVX_EXCLUDES(mCondition);

 private:
  void enqueue(std::function<void()> operation) RVX_REQUIRES(mCondition);
  void work() RVX_EXCLUDES(mCondition);
  bool takesAnotherWorker() RVX_REQUIRES(mCondition);
  void runNext() RVX_REQUIRES(mCondition);

  RVXCondition mCondition{"RVXOperationQueueCondition"};
  std::deque<std::function<void()>> mWaiting RVX_GUARDED_BY(mCondition);
  size_t mUnfinished RVX_GUARDED_BY(mCondition) = 0;  // waiting or running
  size_t mIdleWorkers RVX_GUARDED_BY(mCondition) = 0;
  bool mIsClosing RVX_GUARDED_BY(mCondition) = false;
  std::list<RVXThread> mWorkers;  // last: ended before what they use goes
};

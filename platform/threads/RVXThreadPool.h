#pragma once

#include <cstddef>
#include <deque>
#include <functional>

#include "platform/threads/RVXCondition.h"
#include "platform/threads/RVXThreadStanding.h"

// The system's threads behind RVXThread. A thread whose work has ended stays and takes the next work, because
// a copy of many small files would otherwise spend more on starting and ending threads than on the files.
// There are never more of them than were at work at the same time. Any thread may call.
class RVXThreadPool {
 public:
  // The pool of the threads of that standing, which lives as long as the process. (A thread that was made
  // nice may not become less so, hence one pool each.)
  static RVXThreadPool& withStanding(RVXThreadStanding standing);

  // Runs `body` on a thread of its own at once, destroys it, and then runs `ended` there. Neither may throw.
  // A thread that has begun `ended` is ready for the next work. Ends the process when the machine gives no
  // more threads.
  void run(std::function<void()> body, std::function<void()> ended) RVX_EXCLUDES(mCondition);

 private:
  struct Work {
    std::function<void()> body;
    std::function<void()> ended;
  };

  struct Pools;

  explicit RVXThreadPool(RVXThreadStanding standing) : mStanding(standing) {}

  static void makePools();
  void startThread();
  void work() RVX_EXCLUDES(mCondition);
  Work takeWork() RVX_EXCLUDES(mCondition);

  static Pools* sPools;

  const RVXThreadStanding mStanding;
  RVXCondition mCondition{"RVXThreadPoolCondition"};
  std::deque<Work> mWaiting RVX_GUARDED_BY(mCondition);
  size_t mReadyThreads RVX_GUARDED_BY(mCondition) = 0;  // that no waiting work counts on
};

struct RVXThreadPool::Pools {
  RVXThreadPool normal{RVXThreadStanding::normal};
  RVXThreadPool yielding{RVXThreadStanding::yielding};
};

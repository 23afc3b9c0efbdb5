#include "platform/threads/RVXThread.h"

#include <sys/resource.h>

#include <cstddef>
#include <deque>
#include <system_error>
#include <thread>
#include <utility>

#include "include/EndProcess.h"
#include "platform/threads/RVXMutex.h"

namespace {

// Two cores, of which the MD5 digest alone fills one; a movie of 1 GiB to two destinations. On a tmpfs its
// copy takes 2.01 s with 0, 1.93 s with 5, 1.87 s with 7 and 1.83 s with 10. But beside two programs that use
// all they get, the whole run on a disk takes 5.4 to 5.6 s with 7 and 6.0 to 6.8 s with 10. (Medians of nine
// or more, and of five.)
constexpr int kYieldingNiceness = 7;

void yieldToOthers() {
  constexpr id_t kThisThread = 0;
  ::setpriority(PRIO_PROCESS, kThisThread, ::getpriority(PRIO_PROCESS, kThisThread) + kYieldingNiceness);
}

// The system's threads of one standing; a thread that was made nice may not become less so. Any thread may
// call.
class ThreadPool {
 public:
  explicit ThreadPool(RVXThreadStanding standing) : mStanding(standing) {}

  // Runs `body` on a thread of its own at once, destroys it, and then runs `ended` there, with which the
  // thread is ready for the next work.
  void run(std::function<void()> body, std::function<void()> ended) RVX_EXCLUDES(mCondition) {
    bool needsThread = false;
    {
      const RVXConditionLock lock(mCondition);
      mWaiting.push_back({std::move(body), std::move(ended)});
      needsThread = mReadyThreads == 0;
      if (!needsThread) --mReadyThreads;
      mCondition.signal();
    }
    if (needsThread) startThread();
  }

 private:
  struct Work {
    std::function<void()> body;
    std::function<void()> ended;
  };

  void startThread() {
    try {
      std::thread([this] { work(); }).detach();
    } catch (const std::system_error& refusal) {
      endProcessWithout("thread", refusal.code().message().c_str());
    }
  }

  void work() RVX_EXCLUDES(mCondition) {
    if (mStanding == RVXThreadStanding::yielding) yieldToOthers();
    while (true) {
      Work mine = takeWork();
      mine.body();
      mine.body = nullptr;
      becomeReady();
      mine.ended();
    }
  }

  // Before the owner hears of the end, so that what it starts next finds this thread.
  void becomeReady() RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    ++mReadyThreads;
  }

  Work takeWork() RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    while (mWaiting.empty()) mCondition.wait();
    Work next = std::move(mWaiting.front());
    mWaiting.pop_front();
    return next;
  }

  const RVXThreadStanding mStanding;
  RVXCondition mCondition{"RVXThreadPoolCondition"};
  std::deque<Work> mWaiting RVX_GUARDED_BY(mCondition);
  size_t mReadyThreads RVX_GUARDED_BY(mCondition) = 0;  // those for which no waiting work is meant
};

ThreadPool& poolOf(RVXThreadStanding standing) {
  // Never destroyed: the threads wait in them until the process ends.
  static auto* const normal = new ThreadPool(RVXThreadStanding::normal);
  static auto* const yielding = new ThreadPool(RVXThreadStanding::yielding);
  return standing == RVXThreadStanding::normal ? *normal : *yielding;
}

}  // namespace

RVXThread::RVXThread(std::function<void()> body, RVXThreadStanding standing,
                     std::shared_ptr<RVXEvent> ended) {
  poolOf(standing).run(std::move(body), [isFinished = mIsFinished, ended = std::move(ended)] {
    isFinished->store(true, std::memory_order_release);
    isFinished->notify_one();
    if (ended) ended->signal();
  });
}

RVXThread::~RVXThread() {
  mIsFinished->wait(false, std::memory_order_acquire);
}

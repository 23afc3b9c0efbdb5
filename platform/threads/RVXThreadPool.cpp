#include "platform/threads/RVXThreadPool.h"

#include <pthread.h>
#include <sys/resource.h>

#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "include/EndProcess.h"

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

}  // namespace

RVXThreadPool::Pools* RVXThreadPool::sPools = nullptr;

RVXThreadPool& RVXThreadPool::withStanding(RVXThreadStanding standing) {
  static std::once_flag isMade;
  std::call_once(isMade, [] {
    makePools();
    // A child of a fork has none of the threads; the program has no such children, its tests have.
    ::pthread_atfork(nullptr, nullptr, makePools);
  });
  return standing == RVXThreadStanding::normal ? sPools->normal : sPools->yielding;
}

void RVXThreadPool::makePools() {
  // Never destroyed: the threads wait in them until the process ends.
  sPools = new Pools;
}

void RVXThreadPool::run(std::function<void()> body, std::function<void()> ended) {
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

void RVXThreadPool::startThread() {
  try {
    std::thread([this] { work(); }).detach();
  } catch (const std::system_error& refusal) {
    endProcessWithout("thread", refusal.code().message().c_str());
  }
}

void RVXThreadPool::work() {
  if (mStanding == RVXThreadStanding::yielding) yieldToOthers();
  while (true) {
    Work mine = takeWork();
    mine.body();
    mine.body = nullptr;
    {
      // Before the owner hears of the end, so that what it starts next finds this thread.
      const RVXConditionLock lock(mCondition);
      ++mReadyThreads;
    }
    mine.ended();
  }
}

RVXThreadPool::Work RVXThreadPool::takeWork() {
  const RVXConditionLock lock(mCondition);
  while (mWaiting.empty()) mCondition.wait();
  Work next = std::move(mWaiting.front());
  mWaiting.pop_front();
  return next;
}

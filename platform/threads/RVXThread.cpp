#include "platform/threads/RVXThread.h"

#include <utility>

#include "platform/threads/RVXThreadPool.h"

RVXThread::RVXThread(std::function<void()> body, RVXThreadStanding standing) {
  RVXThreadPool::withStanding(standing).run(std::move(body), [isFinished = mIsFinished] {
    isFinished->store(true, std::memory_order_release);
    isFinished->notify_one();
  });
}

RVXThread::~RVXThread() {
  mIsFinished->wait(false, std::memory_order_acquire);
}

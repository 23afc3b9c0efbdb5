#include "platform/RVXThread.h"

#include <system_error>
#include <utility>

#include "include/EndProcess.h"

RVXThread::RVXThread(std::function<void()> body) {
  try {
    mThread = std::jthread([this, work = std::move(body)] {
      work();
      mIsFinished.store(true, std::memory_order_release);
    });
  } catch (const std::system_error& refusal) {
    endProcessWithout("thread", refusal.code().message().c_str());
  }
}

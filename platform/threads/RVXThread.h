#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "platform/threads/RVXThreadStanding.h"

// A thread that can be asked whether its work has ended. Owned and asked by one thread. The system's thread
// behind it is one that an earlier RVXThread no longer needs, where there is one.
class RVXThread {
 public:
  // Starts the thread. Ends the process when the machine gives no more threads.
  explicit RVXThread(std::function<void()> body, RVXThreadStanding standing = RVXThreadStanding::normal);
  // Waits for its end.
  ~RVXThread();
  RVXThread(const RVXThread&) = delete;
  RVXThread& operator=(const RVXThread&) = delete;

  // True once the body has returned and is destroyed; what it wrote is then visible to the asker.
  [[nodiscard]] bool isFinished() const { return mIsFinished->load(std::memory_order_acquire); }

 private:
  // Shared with the system's thread, which still wakes the waiter when the flag is already seen.
  std::shared_ptr<std::atomic<bool>> mIsFinished = std::make_shared<std::atomic<bool>>(false);
};

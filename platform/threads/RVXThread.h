#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "platform/threads/RVXEvent.h"

// How a thread stands when there are more of them than cores. One that yields leaves the core to threads that
// compute; it suits threads that mostly wait for files. (Linux gives each thread a nice value of its own.)
enum class RVXThreadStanding { normal, yielding };

// A thread that can be asked whether its work has ended. Owned and asked by one thread. The system's threads
// are kept: one whose work has ended takes the next work, because a copy of many small files would otherwise
// spend more on starting and ending threads than on the files. There are never more of them than were at work
// at once.
class RVXThread {
 public:
  // Starts the thread. The body may not throw. `ended`, if given, is signalled when the thread has ended.
  // Ends the process when the machine gives no more threads.
  explicit RVXThread(std::function<void()> body, RVXThreadStanding standing = RVXThreadStanding::normal,
                     std::shared_ptr<RVXEvent> ended = nullptr);
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

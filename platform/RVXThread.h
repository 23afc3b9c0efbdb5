#pragma once

#include <atomic>
#include <functional>
#include <thread>

// How a thread stands when there are more of them than cores. One that yields leaves the core to threads that
// compute; it suits threads that mostly wait for files. (Linux gives each thread a nice value of its own.)
enum class RVXThreadStanding { normal, yielding };

// A thread that can be asked whether its work has ended. Owned and asked by one thread.
class RVXThread {
 public:
  // Starts the thread. Ends the process when the machine gives no more threads.
  explicit RVXThread(std::function<void()> body, RVXThreadStanding standing = RVXThreadStanding::normal);
  // Waits for its end.
  ~RVXThread() = default;
  RVXThread(const RVXThread&) = delete;
  RVXThread& operator=(const RVXThread&) = delete;

  // True once the body has returned; what it wrote is then visible to the asker.
  [[nodiscard]] bool isFinished() const { return mIsFinished.load(std::memory_order_acquire); }

 private:
  std::atomic<bool> mIsFinished{false};
  std::jthread mThread;  // last, so that it has ended before the flag goes
};

#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

#include "platform/threads/RVXMutex.h"

// A condition variable together with its mutex. The name is for diagnostics only.
class RVX_CAPABILITY("mutex") RVXCondition {
 public:
  explicit RVXCondition(std::string name) : mName(std::move(name)) {}

  void lock() RVX_ACQUIRE() { mMutex.lock(); }
  void unlock() RVX_RELEASE() { mMutex.unlock(); }

  // Gives the mutex back while waiting for a signal or broadcast and takes it again. May also
  // return without one.
  void wait() RVX_REQUIRES(this) {
    std::unique_lock<std::mutex> held(mMutex, std::adopt_lock);
    mCondition.wait(held);
    held.release();
  }

  // Wakes one that waits.
  void signal() RVX_REQUIRES(this) { mCondition.notify_one(); }

  // Wakes all that wait.
  void broadcast() RVX_REQUIRES(this) { mCondition.notify_all(); }

  [[nodiscard]] const std::string& name() const { return mName; }

 private:
  const std::string mName;
  std::mutex mMutex;
  std::condition_variable mCondition;
};

using RVXConditionLock = RVXLockHolder<RVXCondition>;

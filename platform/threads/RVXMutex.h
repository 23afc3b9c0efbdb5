#pragma once

#include <mutex>

#include "platform/threads/RVXThreadAnnotations.h"

// std::mutex with the annotations that let the compiler check who holds it.
class RVX_CAPABILITY("mutex") RVXMutex {
 public:
  void lock() RVX_ACQUIRE() { mMutex.lock(); }
  void unlock() RVX_RELEASE() { mMutex.unlock(); }

 private:
  std::mutex mMutex;
};

// Holds a mutex, or any other annotated lock, for the time of a scope.
template <typename Lock>
class RVX_SCOPED_CAPABILITY RVXLockHolder {
 public:
  explicit RVXLockHolder(Lock& lock) RVX_ACQUIRE(lock) : mLock(lock) { mLock.lock(); }
  ~RVXLockHolder() RVX_RELEASE() { mLock.unlock(); }
  RVXLockHolder(const RVXLockHolder&) = delete;
  RVXLockHolder& operator=(const RVXLockHolder&) = delete;

 private:
  Lock& mLock;
};

using RVXMutexLock = RVXLockHolder<RVXMutex>;

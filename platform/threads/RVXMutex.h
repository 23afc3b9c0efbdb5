#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

// Clang's thread-safety annotations (-Wthread-safety); nothing for other compilers.
#if defined(__clang__)
#define RVX_THREAD_ANNOTATION(annotation) __attribute__((annotation))
#else
#define RVX_THREAD_ANNOTATION(annotation)
#endif

#define RVX_CAPABILITY(name) RVX_THREAD_ANNOTATION(capability(name))
#define RVX_SCOPED_CAPABILITY RVX_THREAD_ANNOTATION(scoped_lockable)
#define RVX_GUARDED_BY(mutex) RVX_THREAD_ANNOTATION(guarded_by(mutex))
#define RVX_ACQUIRED_AFTER(mutex) RVX_THREAD_ANNOTATION(acquired_after(mutex))
#define RVX_ACQUIRE(...) RVX_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RVX_RELEASE(...) RVX_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define RVX_REQUIRES(...) RVX_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define RVX_EXCLUDES(...) RVX_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

// std::mutex with the annotations that let the compiler check who holds it.
class RVX_CAPABILITY("mutex") RVXMutex {
 public:
  void lock() RVX_ACQUIRE() { mMutex.lock(); }
  void unlock() RVX_RELEASE() { mMutex.unlock(); }

 private:
  std::mutex mMutex;
};

// Holds a mutex, or any other annotated lock, until the end of the scope.
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

// A condition variable together with its mutex. The name is for diagnostics only. Whoever signals keeps it
// alive until unlock() has returned, and does not wait for it before that.
class RVX_CAPABILITY("mutex") RVXCondition {
 public:
  explicit RVXCondition(std::string name) : mName(std::move(name)) {}

  void lock() RVX_ACQUIRE() { mMutex.lock(); }

  // Only now are threads woken for a signal or broadcast: before, they would at once wait for the mutex.
  void unlock() RVX_RELEASE() {
    const Wake wake = std::exchange(mWake, Wake::nobody);
    mMutex.unlock();
    if (wake == Wake::one) mCondition.notify_one();
    if (wake == Wake::all) mCondition.notify_all();
  }

  // Releases the mutex, waits for a signal or broadcast, and takes the mutex again. May also return without
  // either.
  void wait() RVX_REQUIRES(this) {
    std::unique_lock<std::mutex> held(mMutex, std::adopt_lock);
    mCondition.wait(held);
    held.release();
  }

  // The same, and also returns after `longest`.
  void waitAtMost(std::chrono::milliseconds longest) RVX_REQUIRES(this) {
    std::unique_lock<std::mutex> held(mMutex, std::adopt_lock);
    mCondition.wait_for(held, longest);
    held.release();
  }

  // Wakes one waiting thread.
  void signal() RVX_REQUIRES(this) {
    if (mWake == Wake::nobody) mWake = Wake::one;
  }

  // Wakes all waiting threads.
  void broadcast() RVX_REQUIRES(this) { mWake = Wake::all; }

 private:
  enum class Wake { nobody, one, all };

  const std::string mName;
  std::mutex mMutex;
  Wake mWake = Wake::nobody;
  std::condition_variable mCondition;
};

using RVXConditionLock = RVXLockHolder<RVXCondition>;

#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "platform/threads/RVXMutex.h"
#include "tests/support/Waiting.h"

namespace {

// A number that threads wait for.
class Counter {
 public:
  void waitFor(int number) RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    ++mWaiting;
    while (mNumber < number) mCondition.wait();
    ++mWoken;
  }
  void set(int number) RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    mNumber = number;
    mCondition.broadcast();
  }
  int waiting() RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    return mWaiting;
  }
  int woken() RVX_EXCLUDES(mCondition) {
    const RVXConditionLock lock(mCondition);
    return mWoken;
  }

 private:
  RVXCondition mCondition{"a name"};
  int mNumber RVX_GUARDED_BY(mCondition) = 0;
  int mWaiting RVX_GUARDED_BY(mCondition) = 0;
  int mWoken RVX_GUARDED_BY(mCondition) = 0;
};

}  // namespace

TEST(RVXConditionTest, HasItsName) {
  EXPECT_EQ(RVXCondition("a name").name(), "a name");
}

TEST(RVXConditionTest, BroadcastWakesAllThatWait) {
  const Deadline deadline;
  Counter counter;
  {
    std::array<std::jthread, 4> threads;
    for (auto& thread : threads) {
      thread = std::jthread([&] { counter.waitFor(2); });
    }
    EXPECT_TRUE(eventually([&] { return counter.waiting() == 4; }));
    counter.set(1);
    EXPECT_EQ(counter.woken(), 0);
    counter.set(2);
  }
  EXPECT_EQ(counter.woken(), 4);
}

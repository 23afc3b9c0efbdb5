#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "platform/threads/RVXMutex.h"
#include "tests/support/Waiting.h"

namespace {

// What four threads do at the same time.
template <typename Body>
std::array<std::jthread, 4> onFourThreads(Body body) {
  return {std::jthread(body), std::jthread(body), std::jthread(body), std::jthread(body)};
}

struct Account {
  RVXMutex lock;
  int sum RVX_GUARDED_BY(lock) = 0;
};

// A number that threads wait for.
struct Counter {
  RVXCondition condition{"a name"};
  int number RVX_GUARDED_BY(condition) = 0;
  int waiting RVX_GUARDED_BY(condition) = 0;
  int woken RVX_GUARDED_BY(condition) = 0;
};

}  // namespace

TEST(RVXMutexTest, OnlyOneThreadHoldsIt) {
  Account account;
  onFourThreads([&account] {
    for (int i = 0; i < 5000; ++i) {
      const RVXMutexLock lock(account.lock);
      ++account.sum;
    }
  });
  const RVXMutexLock lock(account.lock);
  EXPECT_EQ(account.sum, 20000);
}

TEST(RVXMutexTest, BroadcastWakesAllThatWait) {
  const Deadline deadline;
  Counter counter;
  {
    const auto threads = onFourThreads([&counter] {
      const RVXConditionLock lock(counter.condition);
      ++counter.waiting;
      while (counter.number < 2) counter.condition.wait();
      ++counter.woken;
    });
    const auto set = [&counter](int number) {
      const RVXConditionLock lock(counter.condition);
      counter.number = number;
      counter.condition.broadcast();
      EXPECT_EQ(counter.woken, 0);
    };
    EXPECT_TRUE(eventually([&counter] {
      const RVXConditionLock lock(counter.condition);
      return counter.waiting == 4;
    }));
    set(1);
    set(2);
  }
  const RVXConditionLock lock(counter.condition);
  EXPECT_EQ(counter.woken, 4);
}

#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "platform/threads/RVXMutex.h"

namespace {

class Account {
 public:
  void add() RVX_EXCLUDES(mLock) {
    const RVXMutexLock lock(mLock);
    ++mSum;
  }
  int sum() RVX_EXCLUDES(mLock) {
    const RVXMutexLock lock(mLock);
    return mSum;
  }

 private:
  RVXMutex mLock;
  int mSum RVX_GUARDED_BY(mLock) = 0;
};

}  // namespace

TEST(RVXMutexTest, OnlyOneThreadHoldsIt) {
  Account account;
  {
    std::array<std::jthread, 4> threads;
    for (auto& thread : threads) {
      thread = std::jthread([&] {
        for (int i = 0; i < 5000; ++i) account.add();
      });
    }
  }
  EXPECT_EQ(account.sum(), 20000);
}

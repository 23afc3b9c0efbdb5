#include <gtest/gtest.h>
#include <sys/resource.h>

#include <future>

#include "platform/RVXThread.h"
#include "tests/support/Waiting.h"

TEST(RVXThreadTest, RunsItsBodyOnAThreadOfItsOwn) {
  const Deadline deadline;
  std::thread::id id;
  {
    const RVXThread thread([&] { id = std::this_thread::get_id(); });
  }
  EXPECT_NE(id, std::thread::id());
  EXPECT_NE(id, std::this_thread::get_id());
}

TEST(RVXThreadTest, IsNotFinishedWhileItsBodyRuns) {
  const Deadline deadline;
  std::promise<void> mayEnd;
  RVXThread thread([&] { mayEnd.get_future().wait(); });
  EXPECT_FALSE(thread.isFinished());
  mayEnd.set_value();
  EXPECT_TRUE(eventually([&] { return thread.isFinished(); }));
}

TEST(RVXThreadTest, WhatTheBodyWroteIsVisibleOnceItIsFinished) {
  const Deadline deadline;
  int written = 0;  // not atomic on purpose
  RVXThread thread([&] { written = 42; });
  ASSERT_TRUE(eventually([&] { return thread.isFinished(); }));
  EXPECT_EQ(written, 42);
}

TEST(RVXThreadTest, DestructionWaitsForTheEnd) {
  const Deadline deadline;
  bool isEnded = false;
  {
    const RVXThread thread([&] {
      std::this_thread::yield();
      isEnded = true;
    });
  }
  EXPECT_TRUE(isEnded);
}

TEST(RVXThreadTest, YieldingThreadIsNicerThanItsStarterAndNobodyElse) {
  const int own = ::getpriority(PRIO_PROCESS, 0);
  int niceness = own;
  {
    const RVXThread thread([&] { niceness = ::getpriority(PRIO_PROCESS, 0); }, RVXThreadStanding::yielding);
  }
  EXPECT_GT(niceness, own);
  {
    const RVXThread thread([&] { niceness = ::getpriority(PRIO_PROCESS, 0); });
  }
  EXPECT_EQ(niceness, own);
  EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), own);
}

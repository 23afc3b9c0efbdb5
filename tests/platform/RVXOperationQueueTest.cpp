#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <vector>

#include "platform/RVXOperationQueue.h"
#include "tests/support/Waiting.h"

namespace {

class RVXOperationQueueTest : public testing::Test {
 protected:
  const Deadline mDeadline;
};

}  // namespace

TEST_F(RVXOperationQueueTest, WaitingForNothingReturns) {
  RVXOperationQueue queue;
  queue.waitUntilAllOperationsAreFinished();
  queue.waitUntilAllOperationsAreFinished();
  SUCCEED();
}

TEST_F(RVXOperationQueueTest, EveryOperationRunsOnce) {
  constexpr size_t kOperations = 200;
  std::vector<std::atomic<int>> runs(kOperations);
  RVXOperationQueue queue;
  for (auto& run : runs) queue.addOperation([&run] { ++run; });
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(std::all_of(runs.begin(), runs.end(), [](const auto& run) { return run == 1; }));
}

TEST_F(RVXOperationQueueTest, FirstOperationRunsOnAnotherThreadWithoutAWait) {
  std::atomic<std::thread::id> id;
  RVXOperationQueue queue;
  queue.addOperation([&] { id = std::this_thread::get_id(); });
  EXPECT_TRUE(eventually([&] { return id.load() != std::thread::id(); }));
  EXPECT_NE(id.load(), std::this_thread::get_id());
}

TEST_F(RVXOperationQueueTest, LastOperationOfAQueueWithoutAWorkerRunsInTheWait) {
  std::thread::id id;
  RVXOperationQueue queue;
  queue.addLastOperation([&] { id = std::this_thread::get_id(); });
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(id, std::this_thread::get_id());
}

TEST_F(RVXOperationQueueTest, LastOperationRunsBehindTheOthersAndOnce) {
  int runs = 0;  // not atomic on purpose
  RVXOperationQueue queue;
  for (int i = 0; i < 100; ++i) {
    queue.addOperation([&] { ++runs; });
    queue.waitUntilAllOperationsAreFinished();
    queue.addLastOperation([&] { runs *= 2; });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(runs, 2);
    runs = 0;
  }
}

TEST_F(RVXOperationQueueTest, EndOfTheQueueWaitsForALastOperation) {
  bool isRun = false;
  {
    RVXOperationQueue queue;
    queue.addLastOperation([&] { isRun = true; });
  }
  EXPECT_TRUE(isRun);
}

TEST_F(RVXOperationQueueTest, WaitingThreadRunsWhatNoWorkerHasBegun) {
  std::promise<void> mayEnd;
  const std::shared_future<void> theEnd = mayEnd.get_future().share();
  std::thread::id id;
  RVXOperationQueue queue;
  queue.addOperation([&] { theEnd.wait(); });
  queue.addOperation([&] {
    id = std::this_thread::get_id();
    mayEnd.set_value();
  });
  // The one worker is busy or about to be; were nobody else to run the second operation, this would never
  // end.
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_NE(id, std::thread::id());
}

TEST_F(RVXOperationQueueTest, WhatAnOperationWroteIsVisibleAfterTheWait) {
  RVXOperationQueue queue;
  int sum = 0;  // not atomic on purpose
  for (int i = 1; i <= 100; ++i) {
    queue.addOperation([&sum, i] { sum += i; });
    queue.waitUntilAllOperationsAreFinished();
  }
  EXPECT_EQ(sum, 5050);
}

TEST_F(RVXOperationQueueTest, ThreeOperationsRunAtTheSameTime) {
  constexpr int kTogether = 3;
  std::atomic<int> present{0};
  std::atomic<int> met{0};
  RVXOperationQueue queue;
  for (int i = 0; i < kTogether; ++i) {
    queue.addOperation([&] {
      ++present;
      if (eventually([&] { return present == kTogether; })) ++met;
    });
  }
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(met, kTogether);
}

TEST_F(RVXOperationQueueTest, NeverMoreAtOnceThanItsMost) {
  std::atomic<size_t> running{0};
  std::atomic<size_t> most{0};
  RVXOperationQueue queue;
  for (int i = 0; i < 100; ++i) {
    queue.addOperation([&] {
      const size_t now = ++running;
      size_t before = most;
      while (before < now && !most.compare_exchange_weak(before, now)) continue;
      std::this_thread::yield();
      --running;
    });
  }
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_LE(most, RVXOperationQueue::kMostAtOnce);
}

TEST_F(RVXOperationQueueTest, OperationsThatWaitStartInOrder) {
  std::promise<void> mayStart;
  const std::shared_future<void> start = mayStart.get_future().share();
  std::vector<int> order;
  RVXMutex orderLock;
  RVXOperationQueue queue;
  // All workers but one are busy until the end, so the rest come one after the other.
  std::promise<void> mayEnd;
  const std::shared_future<void> theEnd = mayEnd.get_future().share();
  for (size_t i = 1; i < RVXOperationQueue::kMostAtOnce; ++i) queue.addOperation([&] { theEnd.wait(); });
  queue.addOperation([&] { start.wait(); });
  for (int i = 0; i < 20; ++i) {
    queue.addOperation([&, i] {
      const RVXMutexLock lock(orderLock);
      order.push_back(i);
      if (order.size() == 20) mayEnd.set_value();
    });
  }
  mayStart.set_value();
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(order.size(), 20U);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(RVXOperationQueueTest, DestructionWaitsForAllOperations) {
  std::atomic<int> runs{0};
  {
    RVXOperationQueue queue;
    for (int i = 0; i < 50; ++i) {
      queue.addOperation([&] {
        std::this_thread::yield();
        ++runs;
      });
    }
  }
  EXPECT_EQ(runs, 50);
}

TEST_F(RVXOperationQueueTest, QueueCanBeUsedAgainAfterAWait) {
  std::atomic<int> runs{0};
  RVXOperationQueue queue;
  for (int round = 1; round <= 50; ++round) {
    queue.addOperation([&] { ++runs; });
    queue.addOperation([&] { ++runs; });
    queue.waitUntilAllOperationsAreFinished();
    ASSERT_EQ(runs, 2 * round);
  }
}

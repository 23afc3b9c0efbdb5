#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "platform/threads/RVXOperationQueue.h"
#include "tests/support/Waiting.h"

namespace {

class RVXOperationQueueTest : public testing::Test {
 protected:
  const Deadline mDeadline;
};

}  // namespace

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
  queue.waitUntilAllOperationsAreFinished();  // for nothing
  int sum = 0;                                // not atomic on purpose
  for (int i = 1; i <= 100; ++i) {
    queue.addOperation([&sum, i] { sum += i; });
    queue.waitUntilAllOperationsAreFinished();
  }
  EXPECT_EQ(sum, 5050);
}

TEST_F(RVXOperationQueueTest, AfterTheWaitTheOperationIsDestroyed) {
  std::atomic<bool> hasBegun{false};
  std::atomic<bool> isDestroyed{false};
  const auto destroy = [&](const int* held) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    delete held;
    isDestroyed = true;
  };
  RVXOperationQueue queue;
  queue.addOperation([&hasBegun, held = std::shared_ptr<int>(new int, destroy)] { hasBegun = true; });
  ASSERT_TRUE(eventually([&] { return hasBegun.load(); }));  // on a worker
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(isDestroyed);
}

TEST_F(RVXOperationQueueTest, AllOperationsRunAtTheSameTime) {
  constexpr int kTogether = 6;
  RVXOperationQueue queue;
  for (int round = 0; round < 20; ++round) {  // also with the workers of earlier operations
    std::atomic<int> present{0};
    std::atomic<int> met{0};
    for (int i = 0; i < kTogether; ++i) {
      queue.addOperation([&] {
        ++present;
        if (eventually([&] { return present == kTogether; })) ++met;
      });
    }
    queue.waitUntilAllOperationsAreFinished();
    ASSERT_EQ(met, kTogether);
  }
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

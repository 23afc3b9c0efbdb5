#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <thread>
#include <vector>

#include "platform/threads/RVXThread.h"
#include "tests/support/Waiting.h"

namespace {

size_t numberOfSystemThreads() {
  return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

}  // namespace

TEST(RVXThreadTest, RunsItsBodyOnAThreadOfItsOwnAndDestructionWaitsForIt) {
  const Deadline deadline;
  std::thread::id id;
  {
    const RVXThread thread([&] {
      std::this_thread::yield();
      id = std::this_thread::get_id();
    });
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

TEST(RVXThreadTest, TakesTheSystemThreadThatAnEarlierOneNoLongerNeeds) {
  const Deadline deadline;
  const auto runOne = [] { const RVXThread thread([] {}); };
  runOne();
  const size_t before = numberOfSystemThreads();
  for (int i = 0; i < 100; ++i) runOne();
  EXPECT_EQ(numberOfSystemThreads(), before);
}

TEST(RVXThreadTest, ThoseThatRunAtTheSameTimeHaveAThreadEach) {
  const Deadline deadline;
  constexpr size_t kThreads = 20;
  for (int round = 0; round < 50; ++round) {
    // None of them ends before all have begun: with a thread too few this waits for ever.
    std::atomic<size_t> begun = 0;
    std::vector<std::unique_ptr<RVXThread>> threads;
    for (size_t i = 0; i < kThreads; ++i) {
      threads.push_back(std::make_unique<RVXThread>([&] {
        ++begun;
        while (begun < kThreads) std::this_thread::yield();
      }));
    }
  }
}

TEST(RVXThreadTest, TheBodyHasWrittenAndIsDestroyedOnceTheThreadIsFinished) {
  const Deadline deadline;
  for (int i = 0; i < 100; ++i) {
    const auto held = std::make_shared<int>(0);
    int written = 0;  // not atomic on purpose
    RVXThread thread([held, &written] { written = 42; });
    ASSERT_TRUE(eventually([&] { return thread.isFinished(); }));
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(written, 42);
  }
}

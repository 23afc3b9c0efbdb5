#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "include/EndProcess.h"
#include "include/Print.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Waiting.h"

// That a failure's lines and status come out whole, also from another thread, the process tests show.

namespace {

struct PrintsWhenDestroyed {
  ~PrintsWhenDestroyed() { print("destroyed"); }
};

}  // namespace

TEST(EndProcessTest, LosesNothingPrintedAndRunsNoDestructorAndNoExitHandler) {
  const ChildEnd end = runInChild([] {
    std::atexit([] { print("at exit"); });
    const PrintsWhenDestroyed object;
    print("no line end");
    endProcess(ExitStatus::writeFailed);
  });
  EXPECT_EQ(end.status, 211);
  EXPECT_EQ(end.output, "no line end");
}

TEST(EndProcessTest, ThreadThatClaimsSecondPrintsNothing) {
  const ChildEnd end = runInChild([] {
    claimProcessEnd();
    std::atomic<bool> isStarted{false};
    const std::jthread second([&] {
      isStarted = true;
      endProcess(ExitStatus::writeFailed, [] { print("second\n"); });
    });
    eventually([&] { return isStarted.load(); });
    print("first\n");
    endProcess(ExitStatus::readFailed);
  });
  EXPECT_EQ(end.status, 220);
  EXPECT_EQ(end.output, "first\n");
}

TEST(EndProcessTest, ThreadThatHasClaimedTheEndMayFailOnceMore) {
  const ChildEnd end = runInChild([] {
    endProcess(ExitStatus::writeFailed, [] {
      print("first\n");
      endProcess(ExitStatus::machineRefused, [] { print("second\n"); });
    });
  });
  EXPECT_EQ(end.status, 117);
  EXPECT_EQ(end.output, "first\nsecond\n");
}

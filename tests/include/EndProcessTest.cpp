#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <thread>

#include "include/EndProcess.h"
#include "include/Print.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Waiting.h"

namespace {

struct PrintsWhenDestroyed {
  ~PrintsWhenDestroyed() { print("destroyed"); }
};

// Waits for ever in other threads while the body runs.
template <typename Body>
void besideOtherThreads(Body body) {
  std::atomic<bool> never{false};
  std::array<std::jthread, 3> threads;
  for (auto& thread : threads) {
    thread = std::jthread([&never] { never.wait(false); });
  }
  body();
}

}  // namespace

TEST(EndProcessTest, StatusIsTheExitStatus) {
  EXPECT_EQ(runInChild([] { endProcess(ExitStatus::finished); }).status, 0);
  EXPECT_EQ(runInChild([] { endProcess(ExitStatus::tooFewArguments); }).status, 100);
  EXPECT_EQ(runInChild([] { endProcess(ExitStatus::readFailed); }).status, 220);
}

TEST(EndProcessTest, NothingPrintedIsLost) {
  const ChildEnd end = runInChild([] {
    print("no line end");
    endProcess(ExitStatus::wrongHash);
  });
  EXPECT_EQ(end.status, 109);
  EXPECT_EQ(end.output, "no line end");
}

TEST(EndProcessTest, RunsNoDestructorAndNoExitHandler) {
  const ChildEnd end = runInChild([] {
    std::atexit([] { print("at exit"); });
    const PrintsWhenDestroyed object;
    endProcess(ExitStatus::writeFailed);
  });
  EXPECT_EQ(end.status, 211);
  EXPECT_EQ(end.output, "");
}

TEST(EndProcessTest, EndsWhileOtherThreadsRun) {
  const ChildEnd end = runInChild([] { besideOtherThreads([] { endProcess(ExitStatus::noSpaceLeft); }); });
  EXPECT_EQ(end.status, 212);
}

TEST(EndProcessTest, EndsFromAnotherThread) {
  const ChildEnd end = runInChild([] {
    const std::jthread thread([] { endProcess(ExitStatus::readFailed, [] { print("from a thread\n"); }); });
  });
  EXPECT_EQ(end.status, 220);
  EXPECT_EQ(end.output, "from a thread\n");
}

TEST(EndProcessTest, LastLinesArePrintedBeforeTheEnd) {
  const ChildEnd end = runInChild([] {
    endProcess(ExitStatus::destinationFileExists, [] {
      print("one\n");
      print("two\n");
    });
  });
  EXPECT_EQ(end.status, 107);
  EXPECT_EQ(end.output, "one\ntwo\n");
}

TEST(EndProcessTest, LinesOfTwoFailuresNeverMix) {
  for (int trial = 0; trial < 20; ++trial) {
    const ChildEnd end = runInChild([] {
      const std::jthread thread([] {
        endProcess(ExitStatus::writeFailed, [] {
          print("write 1\n");
          print("write 2\n");
        });
      });
      endProcess(ExitStatus::readFailed, [] {
        print("read 1\n");
        print("read 2\n");
      });
    });
    EXPECT_EQ(end.output, end.status == 211 ? "write 1\nwrite 2\n" : "read 1\nread 2\n");
    EXPECT_TRUE(end.status == 211 || end.status == 220) << end.status;
  }
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

TEST(EndProcessTest, WhatTheMachineRefusesIsNamed) {
  const ChildEnd end = runInChild([] { endProcessWithout("MD5 digest", "unsupported %s"); });
  EXPECT_EQ(end.status, 117);
  EXPECT_EQ(end.output, "ERROR: No MD5 digest available: unsupported %s\n");
}

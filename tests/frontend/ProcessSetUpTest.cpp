#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <new>

#include "frontend/ProcessSetUp.h"
#include "frontend/SignalHandler.h"
#include "include/Print.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/OutputCapture.h"

TEST(ProcessSetUpTest, StandardOutputIsUnbuffered) {
  const ChildEnd end = runInChild([] {
    static std::array<char, 1000> buffer;
    std::setvbuf(stdout, buffer.data(), _IOFBF, buffer.size());
    setUpProcess();
    std::fputs("one", stdout);
    std::fputs("two", stdout);
  });
  EXPECT_EQ(end.writes, (std::vector<std::string>{"one", "two"}));
}

TEST(ProcessSetUpTest, SignalHandlerIsInstalled) {
  const ChildEnd end = runInChild([] {
    setUpProcess();
    for (const int number : {SIGABRT, SIGSEGV, SIGFPE}) {
      print("%d", std::signal(number, SIG_DFL) == signalHandler ? 1 : 0);
    }
  });
  EXPECT_EQ(end.output, "111");
}

TEST(ProcessSetUpTest, OtherSignalsKeepTheirDefault) {
  const ChildEnd end = runInChild([] {
    setUpProcess();
    for (const int number : {SIGTERM, SIGINT, SIGBUS, SIGILL}) {
      print("%d", std::signal(number, SIG_IGN) == signalHandler ? 1 : 0);
    }
  });
  EXPECT_EQ(end.output, "0000");
}

TEST(ProcessSetUpTest, FileSizeLimitIsNoReasonToDie) {
  const ChildEnd end = runInChild([] {
    setUpProcess();
    std::raise(SIGXFSZ);
  });
  EXPECT_EQ(end.status, kBodyReturned);
  EXPECT_EQ(end.output, "");
}

TEST(ProcessSetUpTest, RefusedMemoryEndsTheProcessWithItsLine) {
  const ChildEnd end = runInChild([] {
    setUpProcess();
    std::get_new_handler()();
  });
  EXPECT_EQ(end.status, 117);
  EXPECT_EQ(end.output, "ERROR: No memory available: allocation refused\n");
}

TEST(ProcessSetUpTest, ClosedStandardDescriptorsAreOpened) {
  const ChildEnd end = runInChild([] {
    ::close(STDIN_FILENO);
    setUpProcess();
    char byte = 0;
    print("%d", static_cast<int>(::read(STDIN_FILENO, &byte, 1)));
  });
  EXPECT_EQ(end.output, "0");
}

TEST(ProcessSetUpTest, DigestsAreThere) {
  const ChildEnd end = runInChild([] { requireDigests(); });
  EXPECT_EQ(end.status, kBodyReturned);
  EXPECT_EQ(end.output, "");
}

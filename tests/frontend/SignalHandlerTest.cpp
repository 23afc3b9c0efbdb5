#include <gtest/gtest.h>

#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <limits>

#include "frontend/SignalHandler.h"
#include "include/Print.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/OutputCapture.h"

namespace {

void expectReport(const std::string& output, const std::string& name) {
  const std::string introduction = "Received signal: " + name;
  ASSERT_EQ(output.substr(0, introduction.size()), introduction);
  // The call stack follows at once: frames that all end with their address.
  const std::string stack = output.substr(introduction.size());
  ASSERT_TRUE(stack.ends_with("]")) << output;
  EXPECT_EQ(std::isdigit(static_cast<unsigned char>(stack.front())), 0) << output;
  EXPECT_NE(stack.find("[0x"), std::string::npos) << output;
  EXPECT_EQ(stack.find('\n'), std::string::npos) << output;
}

}  // namespace

TEST(SignalHandlerTest, NamesTheSignals) {
  expectReport(outputOf([] { signalHandler(6); }), "SIGABRT");
  expectReport(outputOf([] { signalHandler(8); }), "SIGFPE");
  expectReport(outputOf([] { signalHandler(9); }), "SIGKILL");
  expectReport(outputOf([] { signalHandler(11); }), "SIGSEGV");
}

TEST(SignalHandlerTest, OtherSignalsAreNumbers) {
  expectReport(outputOf([] { signalHandler(15); }), "15");
  expectReport(outputOf([] { signalHandler(0); }), "0");
  expectReport(outputOf([] { signalHandler(-3); }), "-3");
  expectReport(outputOf([] { signalHandler(std::numeric_limits<int>::min()); }), "-2147483648");
}

TEST(SignalHandlerTest, ReportIsOneWrite) {
  EXPECT_EQ(runInChild([] { signalHandler(11); }).writes.size(), 1U);
}

TEST(SignalHandlerTest, LeavesErrnoAsItWas) {
  const ChildEnd end = runInChild([] {
    ::close(STDOUT_FILENO);
    errno = 42;
    signalHandler(6);
    std::_Exit(errno);
  });
  EXPECT_EQ(end.status, 42);
}

TEST(SignalHandlerTest, ReturnsToTheInterruptedCodeAndStaysInstalled) {
  const ChildEnd end = runInChild([] {
    installSignalHandler();
    std::raise(SIGFPE);
    print("<first>");
    std::raise(SIGFPE);
    print("<second>");
  });
  EXPECT_EQ(end.status, kBodyReturned);
  const size_t first = end.output.find("<first>");
  ASSERT_NE(first, std::string::npos);
  expectReport(end.output.substr(0, first), "SIGFPE");
  expectReport(end.output.substr(first + 7, end.output.find("<second>") - first - 7), "SIGFPE");
}

TEST(SignalHandlerTest, AbortEndsTheProcessByItself) {
  const ChildEnd end = runInChild([] {
    installSignalHandler();
    std::abort();
  });
  EXPECT_EQ(end.signal, SIGABRT);
  EXPECT_TRUE(end.output.starts_with("Received signal: SIGABRT")) << end.output;
}

TEST(SignalHandlerTest, RefusalOfSIGKILLIsAccepted) {
  const ChildEnd end = runInChild([] { installSignalHandler(); });
  EXPECT_EQ(end.status, kBodyReturned);
  EXPECT_EQ(end.output, "");
}

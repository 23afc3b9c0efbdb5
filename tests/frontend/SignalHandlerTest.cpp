#include <gtest/gtest.h>

#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <limits>
#include <map>

#include "frontend/SignalHandler.h"
#include "tests/support/OutputCapture.h"

TEST(SignalHandlerTest, ReportNamesTheSignalAndTheCallStackInOneLineWithoutAnEnd) {
  const std::map<int, std::string> names = {
      {6, "SIGABRT"}, {8, "SIGFPE"}, {9, "SIGKILL"}, {11, "SIGSEGV"},
      {15, "15"},     {0, "0"},      {-3, "-3"},     {std::numeric_limits<int>::min(), "-2147483648"}};
  for (const auto& [number, name] : names) {
    int errnoAfter = 0;
    const std::string output = outputOf([&, number = number] {
      errno = 42;
      signalHandler(number);
      errnoAfter = errno;
    });
    EXPECT_EQ(errnoAfter, 42);
    const std::string introduction = "Received signal: " + name;
    ASSERT_EQ(output.substr(0, introduction.size()), introduction);
    // Frames that all end with their address.
    const std::string stack = output.substr(introduction.size());
    ASSERT_TRUE(stack.ends_with("]")) << output;
    EXPECT_EQ(std::isdigit(static_cast<unsigned char>(stack.front())), 0) << output;
    EXPECT_NE(stack.find("[0x"), std::string::npos) << output;
    EXPECT_EQ(stack.find('\n'), std::string::npos) << output;
  }
}

TEST(SignalHandlerDeathTest, AbortEndsTheProcessByItself) {
  EXPECT_EXIT(
      {
        installSignalHandler();
        std::abort();
      },
      testing::KilledBySignal(SIGABRT), "");
}

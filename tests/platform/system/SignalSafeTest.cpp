#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "platform/system/SignalSafe.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Interruptions.h"
#include "tests/support/OutputCapture.h"

TEST(SignalSafeTest, CallStackIsOnePieceAFrameWithoutLineEnds) {
  prepareCallStack();
  std::array<char, 16384> text{};
  const size_t length = writeCallStack(text);
  const std::string stack(text.data(), length);
  EXPECT_TRUE(stack.ends_with("]")) << stack;
  EXPECT_NE(stack.find("rvx_platform_system_tests("), std::string::npos) << stack;
  EXPECT_GE(std::count(stack.begin(), stack.end(), ']'), 2) << stack;
  EXPECT_EQ(stack.find('\n'), std::string::npos) << stack;
}

TEST(SignalSafeTest, CallStackIsCutWhereTheTextEnds) {
  for (const size_t size : {0U, 1U, 10U, 100U}) {
    std::array<char, 200> text{};
    text.fill('~');
    EXPECT_EQ(writeCallStack(std::span(text).first(size)), size);
    EXPECT_TRUE(std::all_of(text.begin() + static_cast<ptrdiff_t>(size), text.end(),
                            [](char c) { return c == '~'; }));
  }
}

TEST(SignalSafeTest, WritesTheTextAsItIs) {
  const std::string text("a\0b%s\n", 6);
  EXPECT_EQ(outputOf([&] { writeToStandardOutput(text); }), text);
  EXPECT_EQ(outputOf([] { writeToStandardOutput({}); }), "");
}

TEST(SignalSafeTest, LeavesErrnoAsItWas) {
  const ChildEnd end = runInChild([] {
    ::close(STDOUT_FILENO);
    errno = 42;
    writeToStandardOutput(std::string("lost"));
    std::_Exit(errno);
  });
  EXPECT_EQ(end.status, 42);
}

TEST(SignalSafeTest, InterruptedWritingGoesOn) {
  const std::string text(200'000, 'x');
  const ChildEnd end = runInChild([&] {
    const bool isWhole =
        outputThroughInterruptions(text.size(), [&] { writeToStandardOutput(text); }) == text;
    writeToStandardOutput(std::string(isWhole ? "whole" : "not whole"));
  });
  EXPECT_EQ(end.output, "whole");
}

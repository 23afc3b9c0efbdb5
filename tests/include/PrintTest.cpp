#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <thread>

#include "include/Print.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Interruptions.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Waiting.h"

TEST(PrintTest, FormatsAsPrintfDoes) {
  EXPECT_EQ(outputOf([] { print("%s #%u of %lld: %d%%\n", "file", 7U, 9'000'000'000LL, -5); }),
            "file #7 of 9000000000: -5%\n");
}

TEST(PrintTest, AddsNoLineEnd) {
  EXPECT_EQ(outputOf([] {
              print("one");
              print("two");
            }),
            "onetwo");
}

TEST(PrintTest, ArgumentsAreNoFormats) {
  EXPECT_EQ(outputOf([] { print("%s\n", "%s%n%999999999d"); }), "%s%n%999999999d\n");
}

TEST(PrintTest, EmptyText) {
  EXPECT_EQ(outputOf([] { print("%s", ""); }), "");
}

TEST(PrintTest, TextsOfEveryLengthAreOneWrite) {
  for (const size_t length : {1U, 1022U, 1023U, 1024U, 1025U, 4096U, 8191U, 8192U, 8193U, 20000U, 150000U}) {
    const std::string text(length, 'x');
    EXPECT_EQ(runInChild([&] { print("%s", text.c_str()); }).writes, std::vector<std::string>{text})
        << length;
  }
}

TEST(PrintTest, NonBlockingOutputThatIsFullLosesNothing) {
  const std::string line = std::string(5000, 'x') + "\n";
  constexpr size_t kLines = 100;  // far more than a pipe holds
  const ChildEnd end = runInChild([&] {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC) != 0) return;
    const int output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    ::dup2(ends[1], STDOUT_FILENO);
    std::string received;
    std::jthread reader([&] {
      std::array<char, 4096> piece;
      eventually([&] {
        const ssize_t length = ::read(ends[0], piece.data(), piece.size());
        if (length > 0) received.append(piece.data(), static_cast<size_t>(length));
        return received.size() >= kLines * line.size();
      });
    });
    for (size_t i = 0; i < kLines; ++i) print("%s", line.c_str());
    reader.join();
    ::dup2(output, STDOUT_FILENO);
    print("%zu", received.size());
  });
  EXPECT_EQ(end.output, std::to_string(kLines * line.size()));
}

TEST(PrintTest, InterruptedOutputLosesNothing) {
  const std::string text(200'000, 'x');
  const ChildEnd end = runInChild([&] {
    const bool isWhole = outputThroughInterruptions(text.size(), [&] { print("%s", text.c_str()); }) == text;
    print(isWhole ? "whole" : "not whole");
  });
  EXPECT_EQ(end.output, "whole");
}

TEST(PrintTest, OutputThatFailsIsGivenUp) {
  const ChildEnd end = runInChild([] {
    const int output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    ::dup2(::open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    print("lost");
    ::dup2(output, STDOUT_FILENO);
    print("still here");
  });
  EXPECT_EQ(end.output, "still here");
}

TEST(PrintTest, WhatCantBeFormattedIsNotPrinted) {
  EXPECT_EQ(outputOf([] { print("lost: %ls", L"\u20AC"); }), "");  // the C locale has no such character
}

TEST(PrintTest, LinesOfSeveralThreadsNeverMix) {
  constexpr size_t kThreads = 4;
  constexpr size_t kLines = 50;
  const ChildEnd end = runInChild([] {
    std::vector<std::jthread> threads;
    for (size_t thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([thread] {
        const std::string text(100 + 5000 * thread, static_cast<char>('a' + thread));
        for (size_t i = 0; i < kLines; ++i) print("INFO: %s\n", text.c_str());
      });
    }
  });
  EXPECT_EQ(end.writes.size(), kThreads * kLines);
  for (size_t thread = 0; thread < kThreads; ++thread) {
    const std::string line =
        "INFO: " + std::string(100 + 5000 * thread, static_cast<char>('a' + thread)) + "\n";
    EXPECT_EQ(static_cast<size_t>(std::count(end.writes.begin(), end.writes.end(), line)), kLines) << thread;
  }
}

TEST(PrintTest, AbsentTextIsNull) {
  EXPECT_STREQ(textOrNull(std::nullopt), "(null)");
}

TEST(PrintTest, PresentTextIsItself) {
  const std::optional<std::string> text = "text";
  EXPECT_STREQ(textOrNull(text), "text");
  const std::optional<std::string> empty = "";
  EXPECT_STREQ(textOrNull(empty), "");
}

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "include/Print.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Interruptions.h"
#include "tests/support/OutputCapture.h"

TEST(PrintTest, FormatsAsPrintfDoesAndAddsNoLineEnd) {
  EXPECT_EQ(outputOf([] {
              print("%s #%u of %lld: %d%%", "file", 7U, 9'000'000'000LL, -5);
              print("%s", "");
              print("%s\n", "%s%n%999999999d");
            }),
            "file #7 of 9000000000: -5%%s%n%999999999d\n");
}

TEST(PrintTest, TextsOfEveryLengthAreOneWrite) {
  for (const size_t length : {1U, 1022U, 1023U, 1024U, 1025U, 8191U, 8192U, 8193U, 150000U}) {
    const std::string text(length, 'x');
    EXPECT_EQ(runInChild([&] { print("%s", text.c_str()); }).writes, std::vector<std::string>{text})
        << length;
  }
}

TEST(PrintTest, InterruptedOutputLosesNothing) {
  const std::string text(200'000, 'x');
  const ChildEnd end = runInChild([&] {
    const bool isWhole = outputThroughInterruptions(text.size(), [&] { print("%s", text.c_str()); }) == text;
    print(isWhole ? "whole" : "not whole");
  });
  EXPECT_EQ(end.output, "whole");
}

TEST(PrintTest, WhatCantBeFormattedIsNotPrinted) {
  EXPECT_EQ(outputOf([] { print("lost: %ls", L"\u20AC"); }), "");  // the C locale has no such character
}

TEST(PrintTest, LinesOfSeveralThreadsNeverMix) {
  constexpr size_t kThreads = 4;
  constexpr size_t kLines = 50;
  const auto lineOf = [](size_t thread) {
    return std::string(100 + 5000 * thread, static_cast<char>('a' + thread)) + "\n";
  };
  const ChildEnd end = runInChild([&] {
    std::vector<std::jthread> threads;
    for (size_t thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        for (size_t i = 0; i < kLines; ++i) print("%s", lineOf(thread).c_str());
      });
    }
  });
  EXPECT_EQ(end.writes.size(), kThreads * kLines);
  for (size_t thread = 0; thread < kThreads; ++thread) {
    EXPECT_EQ(static_cast<size_t>(std::count(end.writes.begin(), end.writes.end(), lineOf(thread))), kLines);
  }
}

TEST(PrintTest, AbsentTextIsNull) {
  EXPECT_STREQ(textOrNull(std::nullopt), "(null)");
  const std::optional<std::string> empty = "";
  EXPECT_STREQ(textOrNull(empty), "");
}

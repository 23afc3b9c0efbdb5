#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "include/Print.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/OutputCapture.h"

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

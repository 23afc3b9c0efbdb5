#include <gtest/gtest.h>

#include "check/RVXProgressLine.h"

TEST(RVXProgressLineTest, ShareBytesRateTimeAndFile) {
  using std::chrono::seconds;
  EXPECT_EQ(RVXProgressLine::text(250'000'000, 1'000'000'000, seconds(5), "raid/a.mov", 79),
            "25%, 250.0 MB of 1.0 GB, 50.0 MB/s, 0:00:15 left, raid/a.mov");
  EXPECT_EQ(RVXProgressLine::text(1'000, 100'000'000'000, seconds(1), "a", 79),
            "0%, 1.0 kB of 100.0 GB, 1.0 kB/s, 99:59:59 left, a");
}

TEST(RVXProgressLineTest, WhatIsNotKnownYetOrGrewMeanwhile) {
  using std::chrono::seconds;
  EXPECT_EQ(RVXProgressLine::text(0, 10, seconds(1), "a", 79), "0%, 0 B of 10 B, 0 B/s, -:--:-- left, a");
  EXPECT_EQ(RVXProgressLine::text(0, 0, seconds(0), "a", 79), "100%, 0 B of 0 B, 0 B/s, -:--:-- left, a");
  EXPECT_EQ(RVXProgressLine::text(20, 10, seconds(1), "a", 79),
            "100%, 10 B of 10 B, 10 B/s, 0:00:00 left, a");
}

TEST(RVXProgressLineTest, IsCutToTheTerminal) {
  EXPECT_EQ(RVXProgressLine::text(0, 10, std::chrono::seconds(1), "a long name", 20), "0%, 0 B of 10 B, 0 B");
}

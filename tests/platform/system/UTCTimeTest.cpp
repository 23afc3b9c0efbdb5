#include <gtest/gtest.h>

#include <cstdint>

#include "platform/system/UTCTime.h"
#include "tests/support/Tools.h"

namespace {

std::string byDate(int64_t time) {
  std::string text = outputOfShell("date -u -d @" + std::to_string(time) + " +%Y-%m-%dT%H:%M:%SZ");
  text.pop_back();
  return text;
}

}  // namespace

TEST(UTCTimeTest, IsAsDateTellsIt) {
  for (const int64_t time :
       {int64_t{0}, int64_t{-1}, int64_t{951782399}, int64_t{951782400}, int64_t{1795284202},
        int64_t{4102444799}, int64_t{-62135596800}, int64_t{253402300799}}) {
    EXPECT_EQ(utcDateTime(time), byDate(time));
  }
}

TEST(UTCTimeTest, NoYearHasMoreOrFewerThanFourDigits) {
  EXPECT_EQ(utcDateTime(INT64_MIN), "0001-01-01T00:00:00Z");
  EXPECT_EQ(utcDateTime(INT64_MAX), "9999-12-31T23:59:59Z");
}

TEST(UTCTimeTest, AnyPattern) {
  EXPECT_EQ(utcText(1795284202, "Y-M-D_hms +0000"), "2026-11-21_180322 +0000");
}

TEST(UTCTimeTest, CurrentTimeIsThatOfDate) {
  const int64_t before = std::stoll(outputOfShell("date +%s"));
  const int64_t now = currentTime();
  EXPECT_LE(before, now);
  EXPECT_LE(now, std::stoll(outputOfShell("date +%s")));
}

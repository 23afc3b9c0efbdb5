#include "platform/system/UTCTime.h"

#include <algorithm>
#include <chrono>

namespace {

constexpr int64_t kFirst = -62135596800;  // 0001-01-01T00:00:00Z
constexpr int64_t kLast = 253402300799;   // 9999-12-31T23:59:59Z

std::string withDigits(int64_t number, size_t digits) {
  std::string text = std::to_string(number);
  return std::string(digits - std::min(digits, text.size()), '0') + text;
}

// Without the C library's time zones: it reads files for them, whose leap seconds shift UTC as well.
std::string numberOf(char letter, const std::chrono::year_month_day& date,
                     const std::chrono::hh_mm_ss<std::chrono::seconds>& time) {
  switch (letter) {
    case 'Y':
      return withDigits(static_cast<int>(date.year()), 4);
    case 'M':
      return withDigits(static_cast<unsigned>(date.month()), 2);
    case 'D':
      return withDigits(static_cast<unsigned>(date.day()), 2);
    case 'h':
      return withDigits(time.hours().count(), 2);
    case 'm':
      return withDigits(time.minutes().count(), 2);
    case 's':
      return withDigits(time.seconds().count(), 2);
    default:
      return {letter};
  }
}

}  // namespace

int64_t currentTime() {
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  return now.time_since_epoch().count();
}

std::string utcText(int64_t time, std::string_view pattern) {
  const std::chrono::sys_seconds point{std::chrono::seconds(std::clamp(time, kFirst, kLast))};
  const auto day = std::chrono::floor<std::chrono::days>(point);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss timeOfDay(point - day);
  std::string text;
  for (const char letter : pattern) text += numberOf(letter, date, timeOfDay);
  return text;
}

std::string utcDateTime(int64_t time) {
  return utcText(time, "Y-M-DTh:m:sZ");
}

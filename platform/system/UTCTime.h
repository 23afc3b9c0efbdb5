#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Points of time in UTC, as seconds since 1970. The machine's time zone plays no part.

int64_t currentTime();

// The time by a pattern in which "Y" stands for the year with four digits, "M", "D", "h", "m" and "s" for the
// month, day, hour, minute and second with two each, and anything else for itself. Times before the year 1
// and after 9999 become the first or last one that can be told.
std::string utcText(int64_t time, std::string_view pattern);

// As XML Schema, ISO 8601 and RFC 3339 have it: "2026-11-22T07:30:00Z".
std::string utcDateTime(int64_t time);

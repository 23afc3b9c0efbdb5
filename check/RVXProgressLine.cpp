#include "check/RVXProgressLine.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "check/PrintedText.h"
#include "platform/system/StandardStreams.h"

namespace {

constexpr const char* kErase = "\r\x1b[K";

std::string timeLeft(double seconds) {
  constexpr double kLongest = 359999;  // 99 hours
  constexpr int kMinute = 60;
  constexpr int kHour = 3600;
  const int whole = static_cast<int>(std::clamp(seconds, 0.0, kLongest));
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%d:%02d:%02d left", whole / kHour, whole % kHour / kMinute,
                whole % kMinute);
  return text.data();
}

}  // namespace

RVXProgressLine::RVXProgressLine(bool isWanted, int64_t totalBytes)
    : mTotalBytes(totalBytes), mIsShown(isWanted && terminalColumns(RVXStandardStream::error)) {}

void RVXProgressLine::draw(int64_t bytesRead, const std::string& file) {
  const auto now = Clock::now();
  if (!mIsShown || now - mLastDrawn < kInterval) return;
  mLastDrawn = now;
  mIsDrawn = true;
  const size_t columns = terminalColumns(RVXStandardStream::error).value_or(0);
  // A line that fills the last column would move the next one down.
  const size_t widest = columns > 0 ? columns - 1 : 0;
  [[maybe_unused]] const auto ignored =
      writeTo(RVXStandardStream::error, kErase + text(bytesRead, mTotalBytes, now - mBegin, file, widest));
}

void RVXProgressLine::erase() {
  if (!std::exchange(mIsDrawn, false)) return;
  [[maybe_unused]] const auto ignored = writeTo(RVXStandardStream::error, kErase);
}

std::string RVXProgressLine::text(int64_t bytesRead, int64_t totalBytes,
                                  std::chrono::duration<double> elapsed, const std::string& file,
                                  size_t columns) {
  constexpr double kWhole = 100;
  bytesRead = std::min(bytesRead, totalBytes);  // a file may have grown
  const double share =
      totalBytes > 0 ? kWhole * static_cast<double>(bytesRead) / static_cast<double>(totalBytes) : kWhole;
  const double rate = elapsed.count() > 0 ? static_cast<double>(bytesRead) / elapsed.count() : 0;
  const auto left = static_cast<double>(totalBytes - bytesRead);
  std::string line = std::to_string(static_cast<int>(share)) + "%, " + printedSize(bytesRead) + " of " +
                     printedSize(totalBytes) + ", " + printedSize(static_cast<int64_t>(rate)) + "/s, " +
                     (rate > 0 ? timeLeft(left / rate) : "-:--:-- left") + ", " + file;
  line.resize(std::min(line.size(), columns));
  return line;
}

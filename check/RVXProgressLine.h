#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// The line on the terminal that shows how far the run is. Used by the main thread.
class RVXProgressLine {
 public:
  // Shows nothing where standard error is no terminal, or where it is not wanted. `totalBytes` are to be
  // read.
  RVXProgressLine(bool isWanted, int64_t totalBytes);

  [[nodiscard]] bool isShown() const { return mIsShown; }

  // Draws it anew, at most ten times a second. `file` is being read.
  void draw(int64_t bytesRead, const std::string& file);

  // Takes it off the terminal; to be called before anything else is written to it.
  void erase();

  static constexpr std::chrono::milliseconds kInterval{100};

  // The line's text in so many columns: share, bytes, rate, time left, file.
  static std::string text(int64_t bytesRead, int64_t totalBytes, std::chrono::duration<double> elapsed,
                          const std::string& file, size_t columns);

 private:
  using Clock = std::chrono::steady_clock;

  const int64_t mTotalBytes;
  const bool mIsShown;
  const Clock::time_point mBegin = Clock::now();
  Clock::time_point mLastDrawn;
  bool mIsDrawn = false;
};

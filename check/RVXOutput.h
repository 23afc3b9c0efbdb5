#pragma once

#include <string>
#include <string_view>

#include "check/RVXProgressLine.h"

// The lines of standard output, collected and written whole. Used by the main thread.
class RVXOutput {
 public:
  // `isLost` from the beginning where standard output is closed.
  explicit RVXOutput(bool isLost) : mIsLost(isLost) {}

  // Adds a line, without its line end.
  void addLine(std::string_view line);
  // The same with the word that says what it is about, padded to its column.
  void addLine(std::string_view word, std::string_view text);

  // Writes what was added; many lines are written before.
  void flush();

  // The line that is taken off the terminal before anything is written; null: none. It stays the caller's.
  void setProgressLine(RVXProgressLine* progressLine) { mProgressLine = progressLine; }

  // True once standard output could not be written.
  [[nodiscard]] bool isLost() const { return mIsLost; }

 private:
  std::string mLines;
  RVXProgressLine* mProgressLine = nullptr;
  bool mIsLost;
};

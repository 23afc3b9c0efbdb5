#pragma once

#include <string>
#include <string_view>

#include "check/RVXProgressLine.h"

// The lines of standard output, collected and written whole. Used by the main thread.
class RVXOutput {
 public:
  // `isLost`: standard output is closed from the beginning.
  explicit RVXOutput(bool isLost) : mIsLost(isLost) {}

  // Adds a line, without its line end.
  void addLine(std::string_view line);
  // The same with the word that says what it is about, padded to its column.
  void addLine(std::string_view word, std::string_view text);

  // Writes what was added. (When there are many lines, they are written earlier.)
  void flush();

  // Sets the progress line, which is erased before anything is written; null: none. The caller keeps it.
  void setProgressLine(RVXProgressLine* progressLine) { mProgressLine = progressLine; }

  // True once standard output could not be written.
  [[nodiscard]] bool isLost() const { return mIsLost; }

 private:
  std::string mLines;
  RVXProgressLine* mProgressLine = nullptr;
  bool mIsLost;
};

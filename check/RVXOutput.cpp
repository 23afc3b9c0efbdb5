#include "check/RVXOutput.h"

#include "platform/system/StandardStreams.h"

void RVXOutput::addLine(std::string_view line) {
  constexpr size_t kMostWaiting = size_t{64} * 1024;
  mLines.append(line).append("\n");
  if (mLines.size() >= kMostWaiting) flush();
}

void RVXOutput::addLine(std::string_view word, std::string_view text) {
  constexpr size_t kColumn = 11;
  std::string line(word);
  line.resize(kColumn, ' ');
  addLine(line.append(text));
}

void RVXOutput::flush() {
  if (mLines.empty()) return;
  if (mProgressLine != nullptr) mProgressLine->erase();
  if (!mIsLost && writeTo(RVXStandardStream::output, mLines).failed()) mIsLost = true;
  mLines.clear();
}

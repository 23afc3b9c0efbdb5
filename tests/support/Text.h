#pragma once

#include <algorithm>
#include <string>
#include <vector>

// The lines of a text without their line ends. A last line without one counts as a line.
inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

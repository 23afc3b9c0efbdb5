#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

// The pieces of a text between the separators, also the empty ones: always one more than there are
// separators. They stay the text's: valid as long as it is.
inline std::vector<std::string_view> splitAt(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  while (true) {
    const size_t end = text.find(separator);
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

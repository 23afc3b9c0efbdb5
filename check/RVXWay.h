#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// A name from a list with its "." and ".." resolved: so many folders up, then down through these. Valid as
// long as the name's text.
struct RVXWay {
  size_t up = 0;
  std::vector<std::string_view> down;

  static RVXWay of(std::string_view name);
  [[nodiscard]] std::string text() const;
};

#pragma once

#include <string>
#include <utility>

// A shell pattern (POSIX 2.13) for names or, where it has a slash, for whole paths, in which "*", "?" and "["
// then never match a slash. A leading dot is a character like any other.
class RVXNamePattern {
 public:
  explicit RVXNamePattern(std::string pattern)
      : mPattern(std::move(pattern)), mIsForPaths(mPattern.find('/') != std::string::npos) {}

  [[nodiscard]] const std::string& text() const { return mPattern; }
  [[nodiscard]] bool isForPaths() const { return mIsForPaths; }
  [[nodiscard]] bool matches(const std::string& text) const;

 private:
  std::string mPattern;
  bool mIsForPaths;
};

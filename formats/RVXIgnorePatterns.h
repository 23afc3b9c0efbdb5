#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/RVXIgnorePattern.h"

// The patterns of gitignore(5) for what lies below one folder. The last one that matches decides, and nothing
// below an ignored folder comes back. Read by any thread once all are added.
class RVXIgnorePatterns {
 public:
  // Beyond so many bytes of patterns none is used any more, so that a list made to take time can't.
  static constexpr size_t kMostBytes = size_t{64} * 1024;

  // Adds a pattern, a line without its end.
  void add(std::string_view line);

  // All that were added, as they stand, also those that match nothing.
  [[nodiscard]] const std::vector<std::string>& lines() const { return mLines; }

  // Whether the item of that path, from below the folder on, is ignored by itself, or because it lies in a
  // folder that is.
  [[nodiscard]] bool ignores(std::string_view path, bool isFolder) const;
  // The same of an item whose folders are known not to be ignored.
  [[nodiscard]] bool ignoresItself(std::string_view path, bool isFolder) const;

 private:
  using Names = std::span<const std::string_view>;
  [[nodiscard]] bool areIgnored(Names names, bool isFolder) const;

  std::vector<std::string> mLines;
  std::vector<RVXIgnorePattern> mPatterns;
  size_t mBytes = 0;
};

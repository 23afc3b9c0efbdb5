#pragma once

#include <string>
#include <vector>

#include "platform/files/RVXNamePattern.h"

// Which names need not be listed and need not be safe: those that operating systems leave on every volume,
// and those that the user names. Read by any thread.
class RVXIgnoredNames {
 public:
  explicit RVXIgnoredNames(std::vector<RVXNamePattern> added) : mAdded(std::move(added)) {}

  // Whether a file or folder is ignored by its name. `path` is the path below PATH or CARD.
  [[nodiscard]] bool contains(const std::string& name, const std::string& path) const;

  // Both as lines of gitignore(5).
  [[nodiscard]] static std::vector<std::string> linesOfSystems();
  [[nodiscard]] std::vector<std::string> linesOfUser() const;

  // Whether contains() looks at the path at all.
  [[nodiscard]] bool needsPath() const;

 private:
  std::vector<RVXNamePattern> mAdded;
};

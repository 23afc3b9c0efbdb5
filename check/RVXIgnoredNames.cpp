#include "check/RVXIgnoredNames.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr auto kLeftBySystems = std::to_array<std::string_view>(
    {".DS_Store", "._*", ".Spotlight-V100", ".Trashes", ".fseventsd", ".TemporaryItems", "Thumbs.db",
     "desktop.ini", "System Volume Information", "$RECYCLE.BIN", "lost+found", ".Trash-*"});

// For patterns whose only special character is a "*" at the end.
bool isMeant(std::string_view pattern, std::string_view name) {
  return pattern.ends_with('*') ? name.starts_with(pattern.substr(0, pattern.size() - 1)) : name == pattern;
}

bool isLeftBySystems(std::string_view name) {
  return std::ranges::any_of(kLeftBySystems,
                             [&](std::string_view pattern) { return isMeant(pattern, name); });
}

// A shell pattern as a line of gitignore(5).
std::string ignoreLine(const RVXNamePattern& pattern) {
  std::string line = pattern.text();
  if (line.starts_with('!') || line.starts_with('#')) line.insert(line.begin(), '\\');
  if (pattern.isForPaths() && !line.starts_with('/')) line.insert(line.begin(), '/');
  if (line.ends_with(' ')) line.insert(line.end() - 1, '\\');
  return line;
}

}  // namespace

bool RVXIgnoredNames::contains(const std::string& name, const std::string& path) const {
  return isLeftBySystems(name) || std::ranges::any_of(mAdded, [&](const RVXNamePattern& pattern) {
           return pattern.matches(pattern.isForPaths() ? path : name);
         });
}

bool RVXIgnoredNames::needsPath() const {
  return std::ranges::any_of(mAdded, &RVXNamePattern::isForPaths);
}

std::vector<std::string> RVXIgnoredNames::linesOfSystems() {
  return {kLeftBySystems.begin(), kLeftBySystems.end()};
}

std::vector<std::string> RVXIgnoredNames::linesOfUser() const {
  std::vector<std::string> lines;
  for (const RVXNamePattern& pattern : mAdded) lines.push_back(ignoreLine(pattern));
  return lines;
}

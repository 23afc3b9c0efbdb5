#include "check/RVXIgnoredNames.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

bool isLeftBySystems(std::string_view name) {
  static constexpr auto kWhole = std::to_array<std::string_view>(
      {".DS_Store", ".Spotlight-V100", ".Trashes", ".fseventsd", ".TemporaryItems", "Thumbs.db",
       "desktop.ini", "System Volume Information", "$RECYCLE.BIN", "lost+found"});
  static constexpr auto kBeginnings = std::to_array<std::string_view>({"._", ".Trash-"});
  return std::find(kWhole.begin(), kWhole.end(), name) != kWhole.end() ||
         std::any_of(kBeginnings.begin(), kBeginnings.end(),
                     [&](std::string_view beginning) { return name.starts_with(beginning); });
}

}  // namespace

bool RVXIgnoredNames::contains(const std::string& name, const std::string& path) const {
  return isLeftBySystems(name) ||
         std::any_of(mAdded.begin(), mAdded.end(), [&](const RVXNamePattern& pattern) {
           return pattern.matches(pattern.isForPaths() ? path : name);
         });
}

bool RVXIgnoredNames::needsPath() const {
  return std::any_of(mAdded.begin(), mAdded.end(),
                     [](const RVXNamePattern& pattern) { return pattern.isForPaths(); });
}

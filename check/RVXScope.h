#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check/RVXByteStore.h"
#include "check/RVXNameTree.h"

// A PATH that is to get a new list, and what that list is to hold.
struct RVXScope {
  struct Entry {
    RVXByteStore::Place path = 0;  // in `paths`, from below the PATH on
    RVXNode node = RVXNameTree::kNone;
    bool isFolder = false;
  };

  RVXNode path = RVXNameTree::kNone;
  std::string name;  // the folder's own
  RVXByteStore paths;
  std::vector<Entry> entries;  // in the order of their paths, bytewise

  // These four are for the next generation of a history:
  RVXNode history = RVXNameTree::kNone;  // none yet
  std::vector<RVXNode> manifests;        // from the oldest generation to the newest
  uint64_t number = 1;                   // of the next generation
  std::vector<std::string> patterns;     // its gitignore lines

  // Why no list can be written, where that is known before anything is read.
  std::optional<std::string> obstacle;

  static constexpr const char* kHasHistory = " has a history of its own";

  [[nodiscard]] size_t fileCount() const {
    return static_cast<size_t>(std::ranges::count(entries, false, &Entry::isFolder));
  }
  [[nodiscard]] std::string_view pathOf(const Entry& entry) const { return paths.at(entry.path); }
};

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "formats/RVXIgnorePatterns.h"

// The histories of ASC MHL below the PATHs. Each is a folder "ascmhl" with a manifest for each generation.
// Knows which files later generations renamed, and which need not be listed.
class RVXHistories {
 public:
  static constexpr std::string_view kFolder = "ascmhl";
  static constexpr std::string_view kChain = "ascmhl_chain.xml";

  RVXHistories(RVXInventory& inventory, const RVXPlaces& places) : mInventory(inventory), mPlaces(places) {}

  // Finds the histories among all lists, and reads what was renamed in them.
  void find(const std::vector<RVXNode>& lists);

  // Whether a folder that is a history has a chain.
  [[nodiscard]] bool hasChain(RVXNode folder) const;

  // The newest generation's name for what the manifest calls `name`. Stops at the first generation whose name
  // is too long for a list.
  [[nodiscard]] std::string nameNow(RVXNode manifest, const std::string& name) const;

  // Sets the patterns of a manifest. Only those of the newest generation that has any are used.
  void setPatterns(RVXNode manifest, RVXIgnorePatterns&& patterns);

  // The history of the files in the folder `scope`: its folder "ascmhl", or kNone where there is none.
  [[nodiscard]] RVXNode historyOf(RVXNode scope) const;
  // Of the history in that folder: its manifests from the oldest generation to the newest, the number of the
  // next generation, and the patterns in use.
  [[nodiscard]] std::vector<RVXNode> manifestsOf(RVXNode folder) const;
  [[nodiscard]] uint64_t nextNumber(RVXNode folder) const;
  [[nodiscard]] const std::vector<std::string>& patternsOf(RVXNode folder) const;

  // Whether that file or folder need not be listed.
  [[nodiscard]] bool excuse(RVXNode item, bool isFolder) const;

  // Whether that is a manifest which the chain beside it, where there is one, does not name.
  [[nodiscard]] bool isOutOfChain(RVXNode file) const;

 private:
  struct Rename {
    RVXByteStore::Place before = 0;
    RVXByteStore::Place after = 0;
  };
  struct Generation {
    RVXNode manifest = RVXNameTree::kNone;
    std::vector<Rename> renames;  // sorted by the name before
  };
  struct History {
    RVXNode chain = RVXNameTree::kNone;
    std::vector<Generation> generations;  // from the oldest to the newest
    RVXIgnorePatterns patterns;
    size_t patternsOf = 0;  // a generation
  };
  class RenameReader;

  void sortGenerations(History& history);
  void readRenames(Generation& generation);
  [[nodiscard]] std::string renamed(const Generation& generation, const std::string& name) const;

  RVXInventory& mInventory;
  const RVXPlaces& mPlaces;
  std::map<RVXNode, History> mHistories;       // by their folders
  std::map<RVXNode, const History*> mByScope;  // those with patterns, by the folder that they are about
  std::map<RVXNode, size_t> mGenerations;      // the places of the manifests
  RVXByteStore mTexts;
};

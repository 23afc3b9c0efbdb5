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
  using Node = RVXNameTree::Node;

  static constexpr std::string_view kFolder = "ascmhl";
  static constexpr std::string_view kChain = "ascmhl_chain.xml";

  RVXHistories(RVXInventory& inventory, const RVXPlaces& places) : mInventory(inventory), mPlaces(places) {}

  // Finds the histories among all lists, and reads what was renamed in them.
  void find(const std::vector<Node>& lists);

  // Whether a folder that is a history has a chain.
  [[nodiscard]] bool hasChain(Node folder) const;

  // The newest generation's name for what the manifest calls `name`. Stops at the first generation whose name
  // is too long for a list.
  [[nodiscard]] std::string nameNow(Node manifest, const std::string& name) const;

  // Sets the patterns of a manifest. Only those of the newest generation that has any are used.
  void setPatterns(Node manifest, RVXIgnorePatterns&& patterns);

  // The history of the files in the folder `scope`: its folder "ascmhl", or kNone where there is none.
  [[nodiscard]] Node historyOf(Node scope) const;
  // Of the history in that folder: its manifests from the oldest generation to the newest, the number of the
  // next generation, and the patterns in use.
  [[nodiscard]] std::vector<Node> manifestsOf(Node folder) const;
  [[nodiscard]] uint64_t nextNumber(Node folder) const;
  [[nodiscard]] const std::vector<std::string>& patternsOf(Node folder) const;

  // Whether that file or folder need not be listed.
  [[nodiscard]] bool excuse(Node item, bool isFolder) const;

  // Whether that is a manifest which the chain beside it, where there is one, does not name.
  [[nodiscard]] bool isOutOfChain(Node file) const;

 private:
  struct Rename {
    RVXByteStore::Place before = 0;
    RVXByteStore::Place after = 0;
  };
  struct Generation {
    Node manifest = RVXNameTree::kNone;
    std::vector<Rename> renames;  // sorted by the name before
  };
  struct History {
    Node chain = RVXNameTree::kNone;
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
  std::map<Node, History> mHistories;       // by their folders
  std::map<Node, const History*> mByScope;  // those with patterns, by the folder that they are about
  std::map<Node, size_t> mGenerations;      // the places of the manifests
  RVXByteStore mTexts;
};

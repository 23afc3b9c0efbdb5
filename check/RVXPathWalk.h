#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "check/RVXFolderWalk.h"
#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"

// Finds all files and lists of the PATHs and enters them into the inventory.
class RVXPathWalk : private RVXFolderWalk {
 public:
  // With several PATHs one may lie in another: `areSeveral` makes the walk look out for that, which takes
  // memory for each folder.
  RVXPathWalk(RVXInventory& inventory, RVXPlaces& places, const RVXIgnoredNames& ignored, bool areSeveral)
      : mInventory(inventory), mPlaces(places), mIgnored(ignored), mAreSeveral(areSeveral) {}

  // To be called with each PATH, in order.
  void add(const std::string& path);

  // The lists that were found, each once and in the order of their printed paths; says in the inventory which
  // folders lack one.
  std::vector<RVXNode> finish();

  // The PATHs that are folders.
  [[nodiscard]] const std::vector<RVXNode>& folderPaths() const { return mFolderPaths; }

 private:
  void addFolder(const std::string& path, const RVXFileIdentity& identity);
  void addList(const std::string& path);
  void noteList(RVXNode list);
  void markFoldersAbove(RVXNode list);

  RVXNode enterFolder(RVXNode parent, const std::string& name) override;
  void foundFile(RVXNode parent, const std::string& name, RVXFileType type) override;
  void foundUnreadableFolder(RVXNode folder, const RVXIOFailure& failure) override;

  RVXInventory& mInventory;
  RVXPlaces& mPlaces;
  const RVXIgnoredNames& mIgnored;
  const bool mAreSeveral;
  std::vector<RVXNode> mFolderPaths;
  std::vector<RVXNode> mLists;
};

// Whether a list of that name is a media hash list and not a text file.
bool isMediaHashListName(std::string_view name);

#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "check/RVXCheckOptions.h"
#include "check/RVXHistories.h"
#include "check/RVXIgnoredNames.h"
#include "check/RVXInventory.h"
#include "check/RVXOutput.h"
#include "check/RVXPlaces.h"
#include "check/RVXReadFacts.h"
#include "check/RVXScope.h"
#include "check/RVXVolumeTable.h"
#include "formats/mhl/NewMediaHashes.h"
#include "platform/files/RVXOutcome.h"

// The new lists of a run, one for each folder PATH that was found clean. Used by the main thread.
class RVXListWriting {
 public:
  RVXListWriting(RVXInventory& inventory, const RVXPlaces& places, RVXNewList kind);

  // To be called when the lists are known, and before anything is read: says in `facts` what is wanted of
  // which files. Returns those that the check itself does not read.
  std::vector<RVXNode> prepare(const std::vector<RVXNode>& folders, const RVXHistories& histories,
                               const RVXIgnoredNames& ignored, RVXVolumeTable& volumes, RVXReadFacts& facts);

  // To be called when all was read. Prints for each PATH, in order, whether it got its list. After the user
  // interrupts the run no list is written. False where a clean PATH has no list now.
  bool write(const RVXReadFacts& facts, RVXOutput& output);

 private:
  bool examine(RVXNode file, RVXVolumeTable& volumes, RVXReadFacts& facts);
  void findUncleanFolders();
  [[nodiscard]] bool isClean(RVXNode node) const;
  // The new list's path from the folder of the scope on, or why there is none.
  RVXOutcome<std::string> write(const RVXScope& scope, const RVXListCreator& creator,
                                const RVXReadFacts& facts);
  [[nodiscard]] std::optional<std::string> obstacleOf(const RVXScope& scope, const RVXReadFacts& facts) const;
  [[nodiscard]] std::optional<std::string> obstacleOfContents(const RVXScope& scope,
                                                              const RVXReadFacts& facts) const;
  [[nodiscard]] bool isBelow(RVXNode folder, RVXNode above) const;

  RVXInventory& mInventory;
  const RVXPlaces& mPlaces;
  const RVXNewList mKind;
  const int64_t mStarted;  // seconds since 1970, UTC
  std::vector<RVXScope> mScopes;
  std::set<RVXNode> mUncleanFolders;
  std::set<RVXNode> mNewHistories;  // the folders that they are about
};

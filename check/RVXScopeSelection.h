#pragma once

#include <set>
#include <string>

#include "check/RVXCheckOptions.h"
#include "check/RVXHistories.h"
#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "check/RVXScope.h"
#include "formats/RVXIgnorePatterns.h"

// Leaves of all that was found below a PATH what its new list is to hold: no histories, nothing that the
// patterns of a history excuse, nor what the list's own ones match; and notes what stands in the way of it.
class RVXScopeSelection {
 public:
  // The entries of the scope are sorted.
  RVXScopeSelection(const RVXInventory& inventory, const RVXPlaces& places, const RVXHistories& histories,
                    RVXNewList kind, RVXScope& scope);

  // To be called once.
  void select();

 private:
  using Entry = RVXScope::Entry;

  [[nodiscard]] bool takes(const Entry& entry);
  [[nodiscard]] bool takesFolder(const Entry& entry);
  [[nodiscard]] bool takesFile(const Entry& entry);
  void requireNames();
  void requireName(const Entry& entry);

  const RVXInventory& mInventory;
  const RVXPlaces& mPlaces;
  const RVXHistories& mHistories;
  const bool mIsForHistory;
  RVXScope& mScope;
  RVXIgnorePatterns mPatterns;
  std::set<RVXNode> mClosedFolders;  // of which nothing is taken

  // The first of each sort; empty: none.
  std::string mInnerHistory;
  std::string mLink;
  std::string mName;
};

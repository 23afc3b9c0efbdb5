#pragma once

#include <set>
#include <string>

#include "check/RVXCheckOptions.h"
#include "check/RVXHistories.h"
#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "check/RVXScope.h"
#include "formats/RVXIgnorePatterns.h"

// Selects what a PATH's new list is to hold. Of all that was found it leaves out histories, what the patterns
// of a history excuse, and what the list's own patterns match. It also notes why there can be no list.
class RVXScopeSelection {
 public:
  // The entries of the scope are sorted.
  RVXScopeSelection(const RVXInventory& inventory, const RVXPlaces& places, const RVXHistories& histories,
                    RVXNewList kind, RVXScope& scope);

  // To be called once. Ends early when the user interrupts the run.
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
  std::set<RVXNode> mClosedFolders;  // nothing in them is taken

  // The first obstacle of each kind; empty: none.
  std::string mInnerHistory;
  std::string mLink;
  std::string mName;
};

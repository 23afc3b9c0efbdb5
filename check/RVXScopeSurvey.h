#pragma once

#include <string>
#include <vector>

#include "check/RVXCheckOptions.h"
#include "check/RVXHistories.h"
#include "check/RVXIgnoredNames.h"
#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "check/RVXScope.h"

// Finds out, once the lists are known and before anything is read, what the new lists are to hold.
class RVXScopeSurvey {
 public:
  RVXScopeSurvey(const RVXInventory& inventory, const RVXPlaces& places, const RVXHistories& histories,
                 const RVXIgnoredNames& ignored, RVXNewList kind)
      : mInventory(inventory), mPlaces(places), mHistories(histories), mIgnored(ignored), mKind(kind) {}

  // The scopes of these folders, each once and in their order.
  [[nodiscard]] std::vector<RVXScope> scopesOf(const std::vector<RVXNode>& folders) const;

 private:
  [[nodiscard]] RVXScope emptyScope(RVXNode folder) const;
  [[nodiscard]] std::vector<std::string> patternsOf(const RVXScope& scope) const;
  void addFoundItems(std::vector<RVXScope>& scopes) const;
  void add(RVXScope& scope, RVXNode node) const;
  [[nodiscard]] std::string pathBelow(RVXNode folder, RVXNode node) const;

  const RVXInventory& mInventory;
  const RVXPlaces& mPlaces;
  const RVXHistories& mHistories;
  const RVXIgnoredNames& mIgnored;
  const RVXNewList mKind;
};

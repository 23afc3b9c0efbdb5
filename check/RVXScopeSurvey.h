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
  using Node = RVXNameTree::Node;

  RVXScopeSurvey(const RVXInventory& inventory, const RVXPlaces& places, const RVXHistories& histories,
                 const RVXIgnoredNames& ignored, RVXNewList kind)
      : mInventory(inventory), mPlaces(places), mHistories(histories), mIgnored(ignored), mKind(kind) {}

  // The scopes of these folders, each once and in their order.
  [[nodiscard]] std::vector<RVXScope> scopesOf(const std::vector<Node>& folders) const;

 private:
  [[nodiscard]] RVXScope emptyScope(Node folder) const;
  [[nodiscard]] std::vector<std::string> patternsOf(const RVXScope& scope) const;
  void addFoundItems(std::vector<RVXScope>& scopes) const;
  void add(RVXScope& scope, Node node) const;
  [[nodiscard]] std::string pathBelow(Node folder, Node node) const;

  const RVXInventory& mInventory;
  const RVXPlaces& mPlaces;
  const RVXHistories& mHistories;
  const RVXIgnoredNames& mIgnored;
  const RVXNewList mKind;
};

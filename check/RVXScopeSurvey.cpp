#include "check/RVXScopeSurvey.h"

#include <algorithm>
#include <map>
#include <utility>

#include "check/RVXScopeSelection.h"

std::vector<RVXScope> RVXScopeSurvey::scopesOf(const std::vector<RVXNode>& folders) const {
  std::vector<RVXScope> scopes;
  for (const RVXNode folder : folders) {
    const bool isNew = std::ranges::find(scopes, folder, &RVXScope::path) == scopes.end();
    if (isNew) scopes.push_back(emptyScope(folder));
  }
  addFoundItems(scopes);
  for (RVXScope& scope : scopes) {
    std::ranges::sort(scope.entries, {}, [&](const RVXScope::Entry& entry) { return scope.pathOf(entry); });
    RVXScopeSelection(mInventory, mPlaces, mHistories, mKind, scope).select();
  }
  return scopes;
}

RVXScope RVXScopeSurvey::emptyScope(RVXNode folder) const {
  RVXScope scope;
  scope.path = folder;
  scope.name = mPlaces.nameOf(folder);
  if (scope.name.empty() || scope.name == "/") scope.name = "root";
  if (mKind != RVXNewList::ascmhl) return scope;
  scope.history = mHistories.historyOf(folder);
  if (scope.history != RVXNameTree::kNone) {
    scope.manifests = mHistories.manifestsOf(scope.history);
    scope.number = mHistories.nextNumber(scope.history);
  }
  scope.patterns = patternsOf(scope);
  return scope;
}

std::vector<std::string> RVXScopeSurvey::patternsOf(const RVXScope& scope) const {
  std::vector<std::string> patterns;
  if (scope.history != RVXNameTree::kNone) patterns = mHistories.patternsOf(scope.history);
  const std::vector<std::string> always = {".DS_Store", "ascmhl", "ascmhl/"};
  const std::vector<std::string> temporary = {".rvxcopy-*.tmp"};
  for (const auto& lines : {always, RVXIgnoredNames::linesOfSystems(), temporary, mIgnored.linesOfUser()}) {
    for (const std::string& line : lines) {
      const bool isNew = std::ranges::find(patterns, line) == patterns.end();
      if (isNew && !line.empty()) patterns.push_back(line);
    }
  }
  return patterns;
}

void RVXScopeSurvey::addFoundItems(std::vector<RVXScope>& scopes) const {
  std::map<RVXNode, RVXScope*> scopeOf;
  for (RVXScope& scope : scopes) scopeOf[scope.path] = &scope;
  for (RVXNode node = 0; node < mInventory.names().size(); ++node) {
    if (!mInventory.item(node).isFound) continue;
    RVXNode folder = mPlaces.folderAbove(node);
    for (; folder != RVXNameTree::kNone; folder = mPlaces.folderAbove(folder)) {
      const auto scope = scopeOf.find(folder);
      if (scope != scopeOf.end()) add(*scope->second, node);
    }
  }
}

void RVXScopeSurvey::add(RVXScope& scope, RVXNode node) const {
  scope.entries.push_back(
      {scope.paths.add(pathBelow(scope.path, node)), node, mInventory.item(node).isFolder});
}

std::string RVXScopeSurvey::pathBelow(RVXNode folder, RVXNode node) const {
  const RVXNode parent = mPlaces.folderAbove(node);
  const std::string name = mPlaces.nameBelow(node);
  return parent == folder ? name : pathBelow(folder, parent) + "/" + name;
}

#include "check/RVXScopeSelection.h"

#include <utility>

#include "check/PrintedText.h"
#include "formats/mhl/XMLText.h"
#include "platform/system/RVXInterruption.h"

namespace {

constexpr const char* kIsLink = " is a link";
constexpr const char* kNoXMLName = ": XML can't hold this name";

}  // namespace

RVXScopeSelection::RVXScopeSelection(const RVXInventory& inventory, const RVXPlaces& places,
                                     const RVXHistories& histories, RVXNewList kind, RVXScope& scope)
    : mInventory(inventory),
      mPlaces(places),
      mHistories(histories),
      mIsForHistory(kind == RVXNewList::ascmhl),
      mScope(scope) {
  for (const std::string& pattern : scope.patterns) mPatterns.add(pattern);
}

void RVXScopeSelection::select() {
  requireNames();
  std::vector<Entry> taken;
  for (const Entry& entry : mScope.entries) {
    if (RVXInterruption::signalNumber()) break;  // patterns may be made to take long
    if (!takes(entry)) continue;
    requireName(entry);
    taken.push_back(entry);
  }
  taken.shrink_to_fit();
  mScope.entries = std::move(taken);
  for (const std::string& obstacle : {mInnerHistory, mLink, mName}) {
    if (!mScope.obstacle && !obstacle.empty()) mScope.obstacle = obstacle;
  }
}

bool RVXScopeSelection::takes(const Entry& entry) {
  if (mClosedFolders.contains(mPlaces.folderAbove(entry.node))) {
    if (entry.isFolder) mClosedFolders.insert(entry.node);
    return false;
  }
  return entry.isFolder ? takesFolder(entry) : takesFile(entry);
}

bool RVXScopeSelection::takesFolder(const Entry& entry) {
  if (mInventory.item(entry.node).isHistory) {
    const RVXNode scope = mPlaces.folderAbove(entry.node);
    if (mIsForHistory && scope != mScope.path && mInnerHistory.empty()) {
      mInnerHistory = mInventory.names().printedPath(scope) + RVXScope::kHasHistory;
    }
    mClosedFolders.insert(entry.node);
    return false;
  }
  if (!mIsForHistory) return false;
  const std::string_view path = mScope.pathOf(entry);
  if (mPatterns.ignoresItself(path, true)) {
    mClosedFolders.insert(entry.node);
    // A pattern that matches it only as a folder ("x/") means what lies in it: for other programs the folder
    // is there, and empty.
    return !mPatterns.ignoresItself(path, false);
  }
  return !mHistories.excuse(entry.node, true);
}

bool RVXScopeSelection::takesFile(const Entry& entry) {
  const bool isExcused =
      mPatterns.ignoresItself(mScope.pathOf(entry), false) || mHistories.excuse(entry.node, false);
  if (isExcused) return false;
  const RVXItem& item = mInventory.item(entry.node);
  if (item.isLink && mLink.empty()) mLink = mInventory.names().printedPath(entry.node) + kIsLink;
  return item.isRegular;
}

void RVXScopeSelection::requireNames() {
  if (!isXMLText(mScope.name)) mName = mInventory.names().printedPath(mScope.path) + kNoXMLName;
  for (const std::string& pattern : mScope.patterns) {
    if (mName.empty() && !isXMLText(pattern)) mName = printedText(pattern) + kNoXMLName;
  }
}

void RVXScopeSelection::requireName(const Entry& entry) {
  if (!mName.empty() || isXMLText(mScope.pathOf(entry))) return;
  mName = mInventory.names().printedPath(entry.node) + kNoXMLName;
}

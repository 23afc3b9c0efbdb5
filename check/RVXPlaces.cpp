#include "check/RVXPlaces.h"

#include <algorithm>

#include "check/RVXWay.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/system/UnicodeText.h"

namespace {

// The text of the folder above one that was given as `path`.
std::string textAbove(const std::string& path) {
  const std::string last = lastPathComponent(path);
  if (path.empty() || path == ".") return "..";
  return last == "." || last == ".." ? path + "/.." : pathWithoutLastComponent(path);
}

bool isIn(const std::string& path, const std::string& folder) {
  return folder == "/" ||
         (path.starts_with(folder) && path.size() > folder.size() && path[folder.size()] == '/');
}

}  // namespace

bool isListFolderName(std::string_view name) {
  return isSameIgnoringCase(name, "sha1") || isSameIgnoringCase(name, "md5");
}

RVXNode RVXPlaces::addRoot(const std::string& path, const RVXFileIdentity& identity) {
  RVXNode root = knownFolder(identity);
  if (root == RVXNameTree::kNone) root = addRootNode(path, identity);
  if (isListFolderName(nameOf(root)) && mInventory.names().parent(root) == RVXNameTree::kNone &&
      !mAbove.contains(root)) {
    addFolderBeside(root, path);
  }
  return root;
}

RVXNode RVXPlaces::knownFolder(const RVXFileIdentity& identity) const {
  const auto known = mByIdentity.find(identity);
  return known != mByIdentity.end() ? known->second : RVXNameTree::kNone;
}

RVXNode RVXPlaces::addRootNode(const std::string& path, const RVXFileIdentity& identity) {
  const RVXNode root = mInventory.names().addRoot(path);
  mInventory.item(root).isFolder = true;
  setKnownFolder(identity, root);
  mRealRoots.emplace(realPath(path).value_or(path), root);
  return root;
}

void RVXPlaces::addFolderBeside(RVXNode root, const std::string& path) {
  const std::string above = textAbove(path);
  const auto attributes = attributesOfTarget(above.empty() ? "." : above);
  if (attributes.failed()) return;
  const RVXNode known = knownFolder(attributes.value().identity);
  const RVXNode folder =
      known != RVXNameTree::kNone ? known : addRootNode(above, attributes.value().identity);
  setFolderAbove(root, folder, nameOf(root));
}

void RVXPlaces::setFolderAbove(RVXNode root, RVXNode folder, const std::string& name) {
  for (RVXNode above = folder; above != RVXNameTree::kNone; above = folderAbove(above)) {
    if (above == root) return;
  }
  mAbove.emplace(root, Above{folder, name});
}

RVXNode RVXPlaces::folderAbove(RVXNode node) const {
  const auto above = mAbove.find(node);
  return above != mAbove.end() ? above->second.folder : mInventory.names().parent(node);
}

std::string RVXPlaces::nameBelow(RVXNode node) const {
  const auto above = mAbove.find(node);
  return above != mAbove.end() ? above->second.name : std::string(mInventory.names().name(node));
}

std::optional<RVXPlaces::Place> RVXPlaces::placeOf(RVXNode folder, std::string_view name) {
  const RVXWay way = RVXWay::of(name);
  for (size_t i = 0; i < way.up; ++i) {
    folder = folderAbove(folder);
    if (folder == RVXNameTree::kNone) return std::nullopt;
  }
  Place place{folder, false, RVXNameTree::kNone};
  for (size_t i = 0; i < way.down.size(); ++i) {
    const bool isLast = i + 1 == way.down.size();
    if (!isLast) {
      place = folderIn(place, way.down[i]);
    } else {
      const RVXNode inFact = place.inFact;
      place.node = mInventory.names().add(place.node, way.down[i]);
      if (inFact != RVXNameTree::kNone) place.inFact = mInventory.names().add(inFact, way.down[i]);
    }
  }
  return place;
}

std::string RVXPlaces::nameOf(RVXNode folder) const {
  const RVXNameTree& names = mInventory.names();
  if (names.parent(folder) != RVXNameTree::kNone) return std::string(names.name(folder));
  return lastPathComponent(realPath(names.path(folder)).value_or(""));
}

bool RVXPlaces::isBelowPath(const std::string& realPath) const {
  return std::ranges::any_of(mRealRoots, [&](const auto& root) { return isIn(realPath, root.first); });
}

RVXPlaces::Place RVXPlaces::folderIn(const Place& parent, std::string_view name) {
  const RVXNode node = mInventory.names().add(parent.node, name);
  const RVXItem& item = mInventory.item(node);
  if (item.isFound && item.isFolder) return {node, false, RVXNameTree::kNone};
  if (parent.isNowhere) return {node, parent.isOutside, RVXNameTree::kNone, true};
  const auto followed = mFollowedFolders.find(node);
  if (followed != mFollowedFolders.end()) return followed->second;
  return mFollowedFolders.emplace(node, followFolder(parent, node)).first->second;
}

RVXPlaces::Place RVXPlaces::followFolder(const Place& parent, RVXNode node) const {
  const RVXNameTree& names = mInventory.names();
  const auto real = realPath(names.path(node));
  if (!real) return {node, parent.isOutside, RVXNameTree::kNone, true};
  if (!isBelowPath(*real) && !mRealRoots.contains(*real)) return {node, true, RVXNameTree::kNone};
  const RVXNode inFact = nodeOfRealPath(*real);
  const auto realParent = realPath(names.path(parent.node));
  const bool isLink = parent.inFact != RVXNameTree::kNone || !realParent ||
                      *real != pathByAppendingComponent(*realParent, names.name(node));
  if (isLink) return {node, false, inFact};
  return {inFact, false, RVXNameTree::kNone};
}

RVXNode RVXPlaces::nodeOfRealPath(const std::string& realPath) const {
  // Of the roots above it, which are sorted by their paths, the last one is the nearest.
  for (auto root = mRealRoots.rbegin(); root != mRealRoots.rend(); ++root) {
    if (realPath == root->first) return root->second;
    if (!isIn(realPath, root->first)) continue;
    RVXNode node = root->second;
    const RVXWay way = RVXWay::of(std::string_view(realPath).substr(root->first.size()));
    for (const std::string_view name : way.down) {
      node = mInventory.names().add(node, name);
    }
    return node;
  }
  return RVXNameTree::kNone;
}

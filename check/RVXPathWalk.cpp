#include "check/RVXPathWalk.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "check/RVXHistories.h"
#include "formats/mhl/PackingList.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/system/UnicodeText.h"

namespace {

bool hasExtension(std::string_view name, std::string_view extension) {
  return name.size() >= extension.size() &&
         isSameIgnoringCase(name.substr(name.size() - extension.size()), extension);
}

bool isTextListName(std::string_view name) {
  static constexpr auto kExtensions =
      std::to_array<std::string_view>({".sha1", ".md5", ".sha256", ".sha512"});
  static constexpr auto kNames =
      std::to_array<std::string_view>({"SHA1SUMS", "MD5SUMS", "SHA256SUMS", "SHA512SUMS"});
  return std::ranges::any_of(kExtensions,
                             [&](std::string_view extension) { return hasExtension(name, extension); }) ||
         std::ranges::find(kNames, name) != kNames.end();
}

// What lists, and folders of lists, are called until they are complete.
bool isTemporaryName(std::string_view name) {
  return name.starts_with(".rvxcopy-") && name.ends_with(".tmp");
}

}  // namespace

bool isMediaHashListName(std::string_view name) {
  return hasExtension(name, ".mhl");
}

void RVXPathWalk::add(const std::string& path) {
  const auto attributes = attributesOfTarget(path);
  if (attributes.failed()) {
    // It was there when the arguments were looked at.
    foundUnreadableFolder(mInventory.names().addRoot(path), attributes.failure());
  } else if (attributes.value().type == RVXFileType::folder) {
    addFolder(path, attributes.value().identity);
  } else {
    addList(path);
  }
}

void RVXPathWalk::addFolder(const std::string& path, const RVXFileIdentity& identity) {
  const RVXNode root = mPlaces.addRoot(path, identity);
  mFolderPaths.push_back(root);
  RVXItem& item = mInventory.item(root);
  if (item.isFound) return;  // below an earlier PATH
  item.isFound = true;
  walk(mInventory.names(), root, mIgnored);
}

void RVXPathWalk::addList(const std::string& path) {
  const std::string folder = pathWithoutLastComponent(path);
  const auto attributes = attributesOfTarget(folder.empty() ? "." : folder);
  if (attributes.failed()) {
    foundUnreadableFolder(mInventory.names().addRoot(folder), attributes.failure());
    return;
  }
  noteList(
      mInventory.names().add(mPlaces.addRoot(folder, attributes.value().identity), lastPathComponent(path)));
}

void RVXPathWalk::noteList(RVXNode list) {
  RVXItem& item = mInventory.item(list);
  if (item.isList) return;
  item.isList = true;
  mLists.push_back(list);
}

std::vector<RVXNode> RVXPathWalk::finish() {
  std::ranges::sort(
      mLists, [this](RVXNode one, RVXNode other) { return mInventory.names().comesBefore(one, other); });
  for (const RVXNode list : mLists) markFoldersAbove(list);
  for (const RVXNode folder : mFolderPaths) {
    if (mInventory.item(folder).isListFolder) continue;
    mInventory.item(folder).hasNoList = true;
    mInventory.hasPathWithoutList = true;
  }
  return std::move(mLists);
}

void RVXPathWalk::markFoldersAbove(RVXNode list) {
  for (RVXNode folder = mPlaces.folderAbove(list); folder != RVXNameTree::kNone;
       folder = mPlaces.folderAbove(folder)) {
    if (mInventory.item(folder).isListFolder) return;
    mInventory.item(folder).isListFolder = true;
  }
}

RVXNode RVXPathWalk::enterFolder(RVXNode parent, const std::string& name) {
  if (mInventory.item(parent).isHistory || isTemporaryName(name)) return RVXNameTree::kNone;
  RVXNameTree& names = mInventory.names();
  RVXNode folder = RVXNameTree::kNone;
  if (mAreSeveral) {
    const auto attributes = attributesOfItem(pathByAppendingComponent(names.path(parent), name));
    if (attributes.succeeded()) folder = mPlaces.knownFolder(attributes.value().identity);
    if (folder != RVXNameTree::kNone) {
      if (names.parent(folder) == RVXNameTree::kNone) mPlaces.setFolderAbove(folder, parent, name);
      if (mInventory.item(folder).isFound) return RVXNameTree::kNone;
    } else {
      folder = names.add(parent, name);
      if (attributes.succeeded()) mPlaces.setKnownFolder(attributes.value().identity, folder);
    }
  } else {
    folder = names.add(parent, name);
  }
  RVXItem& item = mInventory.item(folder);
  item.isFound = true;
  item.isFolder = true;
  item.isHistory = name == RVXHistories::kFolder;
  if (item.isHistory) noteList(folder);
  return folder;
}

void RVXPathWalk::foundFile(RVXNode parent, const std::string& name, RVXFileType type) {
  const bool isRegular = type == RVXFileType::regular;
  const bool isMediaHashList = isMediaHashListName(name);
  const bool isInHistory = mInventory.item(parent).isHistory;
  if (isInHistory && !(isRegular && (isMediaHashList || name == RVXHistories::kChain))) return;
  if ((!isRegular && type != RVXFileType::symbolicLink) || isTemporaryName(name)) return;
  const RVXNode file = mInventory.names().add(parent, name);
  RVXItem& item = mInventory.item(file);
  item.isFound = true;
  item.isRegular = isRegular;
  item.isLink = !isRegular;
  if (!isRegular) return;
  const bool isUsed = isInHistory || isTextListName(name) ||
                      (isMediaHashList && !isPackingList(mInventory.names().path(file)));
  if (isUsed) noteList(file);
}

void RVXPathWalk::foundUnreadableFolder(RVXNode folder, const RVXIOFailure& failure) {
  mInventory.folderErrors.emplace(folder, failure.reason);
}

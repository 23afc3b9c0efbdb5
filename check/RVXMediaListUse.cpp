#include "check/RVXMediaListUse.h"

#include <algorithm>
#include <utility>

#include "check/RVXPathWalk.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/system/RVXInterruption.h"

using Expected = RVXMediaHashListReader::Expected;

bool RVXMediaListUse::isOne(const RVXInventory& inventory, RVXNode list) {
  const RVXNode folder = inventory.names().parent(list);
  const bool isInHistory = folder != RVXNameTree::kNone && inventory.item(folder).isHistory;
  return inventory.item(list).isHistory || isInHistory || isMediaHashListName(inventory.names().name(list));
}

void RVXMediaListUse::use(RVXNode list) {
  const RVXNode folder = mPlaces.folderAbove(list);
  if (mInventory.item(list).isHistory) {
    useHistory(list);
  } else if (!mInventory.item(folder).isHistory) {
    useList(list, folder, Expected::list);
  } else if (mInventory.names().name(list) == RVXHistories::kChain) {
    useList(list, folder, Expected::chain);
  } else {
    useList(list, mPlaces.folderAbove(folder), Expected::manifest);
    mHistories.setPatterns(list, std::move(mPatterns));
  }
}

void RVXMediaListUse::useHistory(RVXNode folder) {
  if (mHistories.hasChain(folder) || mInventory.folderErrors.contains(folder)) return;
  mEntries.begin(folder, folder);
  mEntries.end({}, "no ascmhl_chain.xml");
}

void RVXMediaListUse::useList(RVXNode list, RVXNode folder, Expected expected) {
  mList = list;
  mFolder = folder;
  mExpected = expected;
  mPatterns = {};
  mIsEmpty = true;
  mEntries.begin(list, folder);
  const auto done = RVXMediaHashListReader::read(mInventory.names().path(list), expected, *this);
  mEntries.end(done, mIsEmpty ? "no entry" : nullptr);
}

void RVXMediaListUse::entry(RVXMediaHash&& entry) {
  mIsEmpty = false;
  if (RVXInterruption::signalNumber()) return;  // renames may be made to take long
  if (entry.previousPath.starts_with('/')) badLine(entry.line, "absolute name");
  const std::string name = nameOf(entry);
  if (name.size() > RVXMediaHashListReader::kLongestText) {
    badLine(entry.line, RVXMediaHashListReader::kTooLong);
    return;
  }
  const auto file = mEntries.fileOf(entry.line, name);
  if (!file) return;
  const int64_t size = entry.size.value_or(RVXListedDigest::kAnySize);
  for (const RVXMediaHash::Digest& digest : entry.digests) {
    mEntries.add(*file, RVXInventory::textOf(digest.kind, digest.bytes, digest.isInAnyOrder), entry.line,
                 size);
  }
  if (entry.isFolder) {
    mEntries.add(*file, RVXInventory::kFolder, entry.line);
  } else if (entry.digests.empty()) {
    mEntries.add(*file, RVXInventory::kNoDigest, entry.line, size);
  }
  if (mExpected == Expected::chain) takeManifest(*file, entry.line);
}

void RVXMediaListUse::takeManifest(RVXNode file, uint32_t line) {
  RVXItem& item = mInventory.item(file);
  if (mPlaces.folderAbove(file) == mFolder) item.isInChain = true;
  // A file that is there but is not read as a list would have its digest checked, and its entries not.
  const bool isPassedOver = !item.isList && attributesOfItem(mInventory.names().path(file)).succeeded();
  if (isPassedOver) badLine(line, "no manifest");
}

void RVXMediaListUse::badLine(uint32_t line, const char* problem) {
  mIsEmpty = false;
  mEntries.badLine(line, problem);
}

void RVXMediaListUse::ignorePattern(const std::string& pattern) {
  if (mExpected == Expected::manifest) mPatterns.add(pattern);
}

std::string RVXMediaListUse::nameOf(const RVXMediaHash& entry) const {
  if (mExpected == Expected::manifest) return mHistories.nameNow(mList, entry.path);
  if (!entry.mayHaveBackslashes) return entry.path;
  std::string name = entry.path;
  const std::string path = pathByAppendingComponent(mInventory.names().path(mFolder), name);
  if (attributesOfItem(path).failed()) std::ranges::replace(name, '\\', '/');
  return name;
}

#include "check/RVXListUse.h"

#include <algorithm>
#include <utility>

#include "platform/files/RVXFileSystem.h"
#include "platform/files/RVXPathText.h"
#include "platform/system/RVXUnicodeText.h"

namespace {

constexpr std::string_view kBeside = "../";

std::optional<std::string> readList(const std::string& path, RVXDigestListReader::Receiver& receiver) {
  const auto attributes = attributesOfTarget(path);
  if (attributes.succeeded() && attributes.value().type != RVXFileType::regular) return "no regular file";
  const auto done = RVXDigestListReader::read(path, receiver);
  return done.failed() ? std::optional(done.failure().reason) : std::nullopt;
}

// The name without the extension of the lists in a folder of that name, "clip.mov" of "clip.mov.sha1" in
// "sha1"; none for any other.
std::optional<std::string> nameOfListedFile(std::string_view list, std::string_view folder) {
  if (!isListFolderName(folder) || list.size() <= folder.size() + 1) return std::nullopt;
  const size_t dot = list.size() - folder.size() - 1;
  if (list[dot] != '.' || !isSameIgnoringCase(list.substr(dot + 1), folder)) return std::nullopt;
  return std::string(list.substr(0, dot));
}

// S of "../S".
std::optional<std::string> nameBeside(const std::string& listed) {
  if (!listed.starts_with(kBeside)) return std::nullopt;
  const std::string name = listed.substr(kBeside.size());
  const bool isName = !name.empty() && name.find('/') == std::string::npos && name != "." && name != "..";
  return isName ? std::optional(name) : std::nullopt;
}

}  // namespace

void RVXListUse::use(Node list) {
  mList = static_cast<uint32_t>(mInventory.lists.size());
  mFolder = mPlaces.folderAbove(list);
  mEntryCount = 0;
  mOnlyEntry.reset();
  mOriginalFiles.reset();
  mInventory.lists.push_back({list, RVXNameTree::kNone});

  const size_t firstOfList = mInventory.badLines.size();
  const auto failure = readList(mInventory.names().path(list), *this);
  addOnlyEntry();
  finishBadLines(firstOfList, failure);
  mInventory.item(list).hasBadLines = mInventory.badLines.size() > firstOfList;
}

void RVXListUse::entry(uint32_t line, RVXDigestLine&& entry) {
  ++mEntryCount;
  Entry listed{line, std::move(entry)};
  if (mEntryCount == 1) {
    mOnlyEntry = std::move(listed);
    return;
  }
  if (mOnlyEntry) add(*std::exchange(mOnlyEntry, std::nullopt));
  add(listed);
}

void RVXListUse::badLine(uint32_t line, const char* problem) {
  const RVXByteStore::Place place = problemPlace(problem);
  auto& badLines = mInventory.badLines;
  const bool goesOn = !badLines.empty() && badLines.back().list == mList &&
                      badLines.back().problem == place && badLines.back().last + 1 == line;
  if (goesOn) {
    badLines.back().last = line;
  } else {
    badLines.push_back({mList, line, line, place});
  }
}

void RVXListUse::originalFiles(std::string_view text) {
  if (!mOriginalFiles) mOriginalFiles = text;
}

void RVXListUse::addOnlyEntry() {
  if (!mOnlyEntry) return;
  Entry entry = *std::exchange(mOnlyEntry, std::nullopt);
  const auto renamed = otherName(entry.listed.name);
  if (renamed) {
    mInventory.lists.back().listedName = mInventory.texts().add(entry.listed.name.substr(kBeside.size()));
    entry.listed.name = std::string(kBeside) + *renamed;
    const auto place = mPlaces.placeOf(mFolder, entry.listed.name);
    if (place) mInventory.item(place->node).isRenamed = true;
  }
  add(entry);
}

void RVXListUse::add(const Entry& entry) {
  if (entry.listed.name.starts_with('/')) {
    badLine(entry.line, "absolute name");
    return;
  }
  const auto place = mPlaces.placeOf(mFolder, entry.listed.name);
  if (!place) {
    badLine(entry.line, "name leads above PATH");
    return;
  }
  mInventory.addDigest(place->node, entry.listed.kind, entry.listed.digest, mList, entry.line);
  mInventory.item(place->node).isNamed = true;
  if (place->isOutside) mInventory.item(place->node).verdict = RVXVerdict::missing;
  if (place->inFact != RVXNameTree::kNone) mInventory.item(place->inFact).isNamed = true;
}

std::optional<std::string> RVXListUse::otherName(const std::string& listedName) {
  const auto listed = nameBeside(listedName);
  const auto copy =
      nameOfListedFile(mInventory.names().name(mInventory.lists.back().node), mPlaces.nameOf(mFolder));
  if (!listed || !copy || *listed == *copy) return std::nullopt;
  const bool isRenamed =
      mOriginalFiles ? lastPathComponent(*mOriginalFiles) == *listed : isThere(std::string(kBeside) + *copy);
  return isRenamed ? copy : std::nullopt;
}

bool RVXListUse::isThere(const std::string& name) {
  const auto place = mPlaces.placeOf(mFolder, name);
  if (!place) return false;
  const auto attributes = attributesOfItem(mInventory.names().path(place->node));
  return attributes.succeeded() && (attributes.value().type == RVXFileType::regular ||
                                    attributes.value().type == RVXFileType::symbolicLink);
}

void RVXListUse::finishBadLines(size_t firstOfList, const std::optional<std::string>& failure) {
  auto& badLines = mInventory.badLines;
  const auto first = badLines.begin() + static_cast<std::ptrdiff_t>(firstOfList);
  if (mEntryCount == 0) badLines.erase(first, badLines.end());  // one finding for the whole list
  if (failure) {
    badLines.push_back({mList, 0, 0, problemPlace(*failure)});
  } else if (mEntryCount == 0) {
    badLines.push_back({mList, 0, 0, problemPlace(RVXDigestLine::kNoDigestLine)});
  }
  // The only entry's comes last, the whole list's is to come first.
  std::sort(badLines.begin() + static_cast<std::ptrdiff_t>(firstOfList), badLines.end(),
            [](const RVXBadLines& one, const RVXBadLines& other) { return one.first < other.first; });
}

RVXByteStore::Place RVXListUse::problemPlace(const std::string& problem) {
  const auto known = mProblems.find(problem);
  if (known != mProblems.end()) return known->second;
  return mProblems.emplace(problem, mInventory.texts().add(problem)).first->second;
}

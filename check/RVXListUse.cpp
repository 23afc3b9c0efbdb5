#include "check/RVXListUse.h"

#include <utility>

#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/system/UnicodeText.h"

namespace {

constexpr std::string_view kBeside = "../";

// "clip.mov" for the list "clip.mov.sha1" in a folder "sha1"; none where the list's extension is not the
// folder's name.
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

void RVXListUse::use(RVXNode list) {
  mFolder = mPlaces.folderAbove(list);
  mEntryCount = 0;
  mOnlyEntry.reset();
  mOriginalFiles.reset();
  mEntries.begin(list, mFolder);
  const auto done = RVXDigestListReader::read(mInventory.names().path(list), *this);
  addOnlyEntry();
  mEntries.end(done, mEntryCount == 0 ? RVXDigestLine::kNoDigestLine : nullptr);
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
  mEntries.badLine(line, problem);
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
  const auto file = mEntries.fileOf(entry.line, entry.listed.name);
  if (file) mEntries.add(*file, RVXInventory::textOf(entry.listed.kind, entry.listed.digest), entry.line);
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

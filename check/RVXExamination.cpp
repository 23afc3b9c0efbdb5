#include "check/RVXExamination.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "check/RVXDifferences.h"
#include "platform/files/FileSystem.h"
#include "platform/files/RVXIOFailure.h"
#include "platform/system/RVXInterruption.h"

std::vector<RVXNode> RVXExamination::examineListedFiles() {
  std::vector<RVXNode> toRead;
  for (uint32_t number = 0; number < mInventory.digestCount(); ++number) {
    const RVXListedDigest& listed = mInventory.digest(number);
    if (listed.previous != RVXNameTree::kNone) continue;  // not the first entry of its file
    const RVXNode node = listed.node;
    const Entries entries = entriesOf(node);
    if (entries.haveFile && !entries.haveDigest) addBadLineWithoutDigest(entries.firstOfFile);
    if (mInventory.item(node).verdict != RVXVerdict::none) continue;
    if (RVXInterruption::signalNumber()) {
      mInventory.item(node).verdict = RVXVerdict::pending;
    } else {
      examine(node, entries);
    }
    if (mInventory.item(node).verdict == RVXVerdict::pending) toRead.push_back(node);
  }
  std::ranges::stable_sort(mInventory.badLines, {},
                           [](const RVXBadLines& bad) { return std::pair(bad.list, bad.first); });
  return toRead;
}

RVXExamination::Entries RVXExamination::entriesOf(RVXNode node) const {
  Entries entries;
  for (const uint32_t number : mInventory.entriesOf(node)) {
    const RVXListedDigest& listed = mInventory.digest(number);
    const bool isFolder = mInventory.isFolder(listed);
    if (!isFolder && !entries.haveFile) entries.firstOfFile = number;
    (isFolder ? entries.haveFolder : entries.haveFile) = true;
    if (mInventory.hasDigest(listed)) entries.haveDigest = true;
  }
  return entries;
}

void RVXExamination::addBadLineWithoutDigest(uint32_t entry) {
  const RVXListedDigest& listed = mInventory.digest(entry);
  mInventory.addBadLine(listed.list, listed.line, "no digest");
  mInventory.item(mInventory.lists[listed.list].node).hasBadLines = true;
}

void RVXExamination::findUnlistedFiles() {
  for (RVXNode node = 0; node < mInventory.names().size(); ++node) {
    if (RVXInterruption::signalNumber()) return;  // patterns may be made to take long
    RVXItem& item = mInventory.item(node);
    if (item.isFound && !item.isFolder && !item.isNamed && !item.isList && !mHistories.excuse(node, false)) {
      item.verdict = RVXVerdict::unlisted;
    }
    item.isOutOfChain = mHistories.isOutOfChain(node);
  }
}

void RVXExamination::examine(RVXNode node, const Entries& entries) {
  const std::string path = mInventory.names().path(node);
  const auto attributes = attributesOfItem(path.empty() ? "." : path);
  RVXItem& item = mInventory.item(node);
  if (attributes.failed()) {
    const RVXIOFailure& failure = attributes.failure();
    const bool isMissing = failure.code == ENOENT || failure.code == ENOTDIR;
    item.verdict = isMissing ? RVXVerdict::missing : RVXVerdict::unreadable;
    if (!isMissing) mInventory.findings[node].error = failure.reason;
  } else if (entries.haveFolder && attributes.value().type != RVXFileType::folder && !leadsToFolder(path)) {
    item.verdict = RVXVerdict::missing;
  } else if (!entries.haveFile) {
    item.verdict = RVXVerdict::ok;
  } else if (attributes.value().type == RVXFileType::regular) {
    examineRegularFile(node, path, attributes.value());
  } else if (attributes.value().type == RVXFileType::symbolicLink) {
    examineLink(node, path, attributes.value());
  } else {
    item.verdict = RVXVerdict::noRegularFile;
  }
}

void RVXExamination::examineRegularFile(RVXNode node, const std::string& path,
                                        const RVXFileAttributes& attributes) {
  RVXItem& item = mInventory.item(node);
  item.size = attributes.size;
  item.volume = mVolumes.numberOf(attributes.identity, path);
  const RVXDifferences differences(mInventory, node);
  if (!differences.kindsFor(item.size).empty()) {
    item.verdict = RVXVerdict::pending;
    return;
  }
  // There is no digest to compare, only the size.
  auto ofSize = differences.withoutRepetitions(differences.of(item.size, {}));
  item.verdict = ofSize.empty() ? RVXVerdict::noDigest : RVXVerdict::changed;
  if (!ofSize.empty()) mInventory.findings[node].differences = std::move(ofSize);
}

void RVXExamination::examineLink(RVXNode node, const std::string& path, const RVXFileAttributes& attributes) {
  // The size of a link that is good by its text. No file has it, so that no file of the card is taken for its
  // copy.
  constexpr int64_t kNoContents = -1;
  RVXItem& item = mInventory.item(node);
  item.isLink = true;
  item.size = kNoContents;
  item.volume = mVolumes.numberOf(attributes.identity, path);
  const auto text = linkTarget(path);
  if (text.failed()) {
    item.verdict = RVXVerdict::unreadable;
    mInventory.findings[node].error = text.failure().reason;
    return;
  }
  const RVXDifferences differences(mInventory, node);
  auto ofText = differences.withoutRepetitions(differences.ofLinkText(text.value()));
  const bool isCompared = !differences.kindsFor(static_cast<int64_t>(text.value().size())).empty();
  if (ofText.empty() && isCompared) {
    item.verdict = RVXVerdict::ok;
    return;
  }
  const auto target = realPath(path);
  const auto targetAttributes = attributesOfItem(target.value_or(path));
  const bool leadsToFile =
      targetAttributes.succeeded() && targetAttributes.value().type == RVXFileType::regular;
  if (leadsToFile && mPlaces.isBelowPath(*target)) {
    examineRegularFile(node, *target, targetAttributes.value());
  } else {
    item.verdict = ofText.empty() ? RVXVerdict::noDigest : RVXVerdict::changed;
    if (!ofText.empty()) mInventory.findings[node].differences = std::move(ofText);
  }
}

bool RVXExamination::leadsToFolder(const std::string& path) const {
  const auto target = attributesOfTarget(path);
  const auto real = realPath(path);
  return target.succeeded() && target.value().type == RVXFileType::folder && real &&
         mPlaces.isBelowPath(*real);
}

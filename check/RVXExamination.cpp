#include "check/RVXExamination.h"

#include <cerrno>

#include "platform/digests/RVXAnyDigest.h"
#include "platform/files/RVXFileSystem.h"
#include "platform/files/RVXFolderReader.h"
#include "platform/files/RVXIOFailure.h"
#include "platform/system/RVXInterruption.h"

namespace {

// No copy of a card's file has that size: it stands for a link that is good by its text.
constexpr int64_t kNoContents = -1;

}  // namespace

std::vector<RVXFinding::Difference> differencesOfLinkText(const RVXInventory& inventory,
                                                          RVXNameTree::Node node, const std::string& text) {
  std::vector<RVXFinding::Difference> differences;
  for (const uint32_t number : inventory.digestsOf(node)) {
    const RVXListedDigest& listed = inventory.digest(number);
    std::string read = RVXAnyDigest::ofText(inventory.kindOf(listed), text);
    if (read != inventory.bytesOf(listed)) differences.push_back({number, std::move(read)});
  }
  return differences;
}

std::vector<RVXExamination::Node> RVXExamination::examineListedFiles() {
  std::vector<Node> toRead;
  for (uint32_t number = 0; number < mInventory.digestCount(); ++number) {
    const Node node = mInventory.digest(number).node;
    if (mInventory.item(node).verdict != RVXVerdict::none) continue;
    if (RVXInterruption::signalNumber()) {
      mInventory.item(node).verdict = RVXVerdict::pending;
    } else {
      examine(node);
    }
    if (mInventory.item(node).verdict == RVXVerdict::pending) toRead.push_back(node);
  }
  return toRead;
}

void RVXExamination::findUnlistedFiles() {
  for (Node node = 0; node < mInventory.names().size(); ++node) {
    RVXItem& item = mInventory.item(node);
    if (item.isFound && !item.isFolder && !item.isNamed && !item.isList) item.verdict = RVXVerdict::unlisted;
  }
}

void RVXExamination::examine(Node node) {
  const std::string path = mInventory.names().path(node);
  const auto attributes = attributesOfItem(path.empty() ? "." : path);
  RVXItem& item = mInventory.item(node);
  if (attributes.failed()) {
    const RVXIOFailure& failure = attributes.failure();
    const bool isMissing = failure.code == ENOENT || failure.code == ENOTDIR;
    item.verdict = isMissing ? RVXVerdict::missing : RVXVerdict::unreadable;
    if (!isMissing) mInventory.findings[node].error = failure.reason;
  } else if (attributes.value().type == RVXFileType::regular) {
    examineRegularFile(node, path, attributes.value());
  } else if (attributes.value().type == RVXFileType::symbolicLink) {
    examineLink(node, path, attributes.value());
  } else {
    item.verdict = RVXVerdict::noRegularFile;
  }
}

void RVXExamination::examineRegularFile(Node node, const std::string& path,
                                        const RVXFileAttributes& attributes) {
  RVXItem& item = mInventory.item(node);
  item.verdict = RVXVerdict::pending;
  item.size = attributes.size;
  item.volume = mVolumes.numberOf(attributes.identity, path);
}

void RVXExamination::examineLink(Node node, const std::string& path, const RVXFileAttributes& attributes) {
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
  auto differences = differencesOfLinkText(mInventory, node, text.value());
  if (differences.empty()) {
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
    item.verdict = RVXVerdict::changed;
    mInventory.findings[node].differences = std::move(differences);
  }
}

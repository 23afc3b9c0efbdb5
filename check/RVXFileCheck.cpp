#include "check/RVXFileCheck.h"

#include <algorithm>
#include <utility>

#include "check/RVXExamination.h"
#include "platform/files/RVXFileSystem.h"

namespace {

std::vector<DigestKind> kindsOf(const RVXInventory& inventory, RVXNameTree::Node file) {
  std::vector<DigestKind> kinds;
  for (const uint32_t number : inventory.digestsOf(file)) {
    const DigestKind kind = inventory.kindOf(inventory.digest(number));
    if (std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) kinds.push_back(kind);
  }
  return kinds;
}

}  // namespace

void RVXFileCheck::checkListed(RVXNameTree::Node file) {
  const std::string path = mInventory.names().path(file);
  const std::vector<DigestKind> kinds = kindsOf(mInventory, file);
  const RVXContents contents = read(path, kinds);
  RVXResults::Checked checked;
  checked.size = contents.length;
  if (contents.error) {
    checked.verdict = RVXVerdict::unreadable;
    checked.finding.error = *contents.error;
  } else if (!contents.isRegularFile) {
    checked.verdict = RVXVerdict::noRegularFile;
  } else {
    checked.volume = mVolumes.numberOfTarget(contents.identity, path);
    checked.finding.differences = differences(file, kinds, contents);
    checked.verdict = checked.finding.differences.empty() ? RVXVerdict::ok : RVXVerdict::changed;
  }
  mResults.post(file, std::move(checked));
}

void RVXFileCheck::checkOnCard(RVXNameTree::Node file, RVXCard& card) {
  const std::vector<DigestKind> kinds = card.kindsFor(file);
  card.take(file, kinds, read(mInventory.names().path(file), kinds));
  mResults.postOnCard();
}

RVXContents RVXFileCheck::read(const std::string& path, const std::vector<DigestKind>& kinds) {
  RVXContents contents = RVXContents::read(path, kinds, mBytesRead);
  if (contents.length > 0) mVolumes.noteRead(contents.identity, path);
  return contents;
}

std::vector<RVXFinding::Difference> RVXFileCheck::differences(RVXNameTree::Node file,
                                                              const std::vector<DigestKind>& kinds,
                                                              const RVXContents& contents) const {
  std::vector<RVXFinding::Difference> differences;
  for (const uint32_t number : mInventory.digestsOf(file)) {
    const RVXListedDigest& listed = mInventory.digest(number);
    const auto kind = std::find(kinds.begin(), kinds.end(), mInventory.kindOf(listed));
    const std::string& read = contents.digests[static_cast<size_t>(kind - kinds.begin())];
    if (read != mInventory.bytesOf(listed)) differences.push_back({number, read});
  }
  if (differences.empty() || !std::as_const(mInventory).item(file).isLink) return differences;

  // A digest that neither the contents nor the link's text has; the text's is the one that is told.
  const auto text = linkTarget(mInventory.names().path(file));
  if (text.failed()) return differences;
  auto differencesOfText = differencesOfLinkText(mInventory, file, text.value());
  std::erase_if(differencesOfText, [&](const RVXFinding::Difference& ofText) {
    return std::none_of(
        differences.begin(), differences.end(),
        [&](const RVXFinding::Difference& ofContents) { return ofContents.digest == ofText.digest; });
  });
  return differencesOfText;
}

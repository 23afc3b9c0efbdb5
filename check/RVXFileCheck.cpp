#include "check/RVXFileCheck.h"

#include <algorithm>
#include <utility>

#include "check/RVXDifferences.h"
#include "platform/files/RVXFileSystem.h"

void RVXFileCheck::checkListed(RVXNameTree::Node file) {
  const std::string path = mInventory.names().path(file);
  std::vector<DigestKind> kinds =
      RVXDifferences(mInventory, file).kindsFor(std::as_const(mInventory).item(file).size);
  for (const DigestKind kind : mFacts.kindsFor(file)) {
    if (std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) kinds.push_back(kind);
  }
  const RVXContents contents = read(path, kinds);
  mFacts.take(file, kinds, contents);
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
  mResults.postOther();
}

void RVXFileCheck::readFacts(RVXNameTree::Node file) {
  const std::vector<DigestKind> kinds = mFacts.kindsFor(file);
  mFacts.take(file, kinds, read(mInventory.names().path(file), kinds));
  mResults.postOther();
}

RVXContents RVXFileCheck::read(const std::string& path, const std::vector<DigestKind>& kinds) {
  RVXContents contents = RVXContents::read(path, kinds, mBytesRead);
  if (contents.length > 0) mVolumes.noteRead(contents.identity, path);
  return contents;
}

std::vector<RVXFinding::Difference> RVXFileCheck::differences(RVXNameTree::Node file,
                                                              const std::vector<DigestKind>& kinds,
                                                              const RVXContents& contents) const {
  const RVXDifferences compared(mInventory, file);
  const auto digestOf = [&](DigestKind sought) {
    const auto kind = std::find(kinds.begin(), kinds.end(), sought);
    return contents.digests[static_cast<size_t>(kind - kinds.begin())];
  };
  // By the size that it had when it was examined: if it has changed since, its digest tells.
  auto differences = compared.of(std::as_const(mInventory).item(file).size, digestOf);
  const bool isLink = std::as_const(mInventory).item(file).isLink;
  if (differences.empty() || !isLink) return compared.withoutRepetitions(std::move(differences));
  const auto text = linkTarget(mInventory.names().path(file));
  if (text.failed()) return compared.withoutRepetitions(std::move(differences));

  // An entry that neither the contents nor the link's text fits; the text's is the one that is told.
  auto ofText = compared.ofLinkText(text.value());
  std::erase_if(ofText, [&](const RVXFinding::Difference& one) {
    return std::ranges::find(differences, one.digest, &RVXFinding::Difference::digest) == differences.end();
  });
  return compared.withoutRepetitions(std::move(ofText));
}

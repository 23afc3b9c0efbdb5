#include "check/RVXFileCheck.h"

#include <algorithm>
#include <utility>

#include "check/RVXDifferences.h"
#include "platform/files/FileSystem.h"

void RVXFileCheck::checkListed(RVXNode file) {
  std::set<DigestKind> kinds = RVXDifferences(mInventory, file).kindsFor(mInventory.item(file).size);
  kinds.merge(mFacts.kindsFor(file));
  const RVXContents contents = read(file, kinds);
  mFacts.take(file, contents);
  RVXResults::Checked checked;
  checked.size = contents.length;
  if (contents.error) {
    checked.verdict = RVXVerdict::unreadable;
    checked.finding.error = *contents.error;
  } else if (!contents.isRegularFile) {
    checked.verdict = RVXVerdict::noRegularFile;
  } else {
    checked.volume = mVolumes.numberOfTarget(contents.identity, mInventory.names().path(file));
    checked.finding.differences = differences(file, contents);
    checked.verdict = checked.finding.differences.empty() ? RVXVerdict::ok : RVXVerdict::changed;
  }
  mResults.post(file, std::move(checked));
}

void RVXFileCheck::checkOnCard(RVXNode file, RVXCard& card) {
  card.take(file, read(file, card.kindsFor(file)));
  mResults.postOther();
}

void RVXFileCheck::readFacts(RVXNode file) {
  mFacts.take(file, read(file, mFacts.kindsFor(file)));
  mResults.postOther();
}

RVXContents RVXFileCheck::read(RVXNode file, const std::set<DigestKind>& kinds) {
  const std::string path = mInventory.names().path(file);
  RVXContents contents = RVXContents::read(path, kinds, mBytesRead);
  if (contents.length > 0) mVolumes.noteRead(contents.identity, path);
  return contents;
}

std::vector<RVXFinding::Difference> RVXFileCheck::differences(RVXNode file,
                                                              const RVXContents& contents) const {
  const RVXDifferences compared(mInventory, file);
  const auto digestOf = [&](DigestKind kind) { return contents.digests.at(kind); };
  // The size is that of the examination: if it has changed since, the digest shows it.
  auto differences = compared.of(mInventory.item(file).size, digestOf);
  const bool isLink = mInventory.item(file).isLink;
  if (differences.empty() || !isLink) return compared.withoutRepetitions(std::move(differences));
  const auto text = linkTarget(mInventory.names().path(file));
  if (text.failed()) return compared.withoutRepetitions(std::move(differences));

  // The entry fits neither the contents nor the link's text; the finding names the text's digest.
  auto ofText = compared.ofLinkText(text.value());
  std::erase_if(ofText, [&](const RVXFinding::Difference& one) {
    return !std::ranges::binary_search(differences, one.digest, {}, &RVXFinding::Difference::digest);
  });
  return compared.withoutRepetitions(std::move(ofText));
}

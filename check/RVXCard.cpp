#include "check/RVXCard.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "check/RVXHistories.h"
#include "include/SplitText.h"
#include "platform/digests/RVXAnyDigest.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"

namespace {

// A history's table of contents: it grows with each copy of the card.
bool isChain(std::string_view folder, std::string_view name) {
  return folder == RVXHistories::kFolder && name == RVXHistories::kChain;
}

}  // namespace

RVXCard::RVXCard(RVXInventory& inventory, RVXVolumeTable& volumes, const std::string& path, size_t copies)
    : mInventory(inventory), mVolumes(volumes), mCopies(copies), mRoot(inventory.names().addRoot(path)) {}

void RVXCard::find(const RVXIgnoredNames& ignored) {
  walk(mInventory.names(), mRoot, ignored);
  for (const RVXNode file : mFiles) examine(file);
}

RVXNode RVXCard::enterFolder(RVXNode parent, const std::string& name) {
  return mInventory.names().add(parent, name);
}

void RVXCard::foundFile(RVXNode parent, const std::string& name, RVXFileType type) {
  if (type == RVXFileType::regular && isChain(mInventory.names().name(parent), name)) return;
  const RVXNode file = mInventory.names().add(parent, name);
  RVXItem& item = mInventory.item(file);
  item.isRegular = type == RVXFileType::regular;
  item.isLink = type == RVXFileType::symbolicLink;
  if (item.isRegular || item.isLink) {
    mFiles.push_back(file);
    return;
  }
  const RVXMutexLock lock(mLock);
  mUnsafe.emplace(file, "no regular file");
  ++mOtherCount;
}

void RVXCard::foundUnreadableFolder(RVXNode folder, const RVXIOFailure& failure) {
  const RVXMutexLock lock(mLock);
  mUnsafe.emplace(folder, failure.reason);
  ++mOtherCount;
}

void RVXCard::examine(RVXNode file) {
  const std::string path = mInventory.names().path(file);
  const auto attributes = attributesOfItem(path);
  if (attributes.failed()) {
    const RVXMutexLock lock(mLock);
    mUnsafe.emplace(file, attributes.failure().reason);
    return;
  }
  RVXItem& item = mInventory.item(file);
  item.size = attributes.value().size;
  item.volume = mVolumes.numberOf(attributes.value().identity, path);
}

std::vector<RVXNode> RVXCard::filesToRead() {
  mListedSizes.find(mInventory);
  std::vector<RVXNode> toRead;
  const RVXMutexLock lock(mLock);
  for (const RVXNode file : mFiles) {
    const bool isRegular = std::as_const(mInventory).item(file).isRegular;
    if (isRegular && !mUnsafe.contains(file) && !kindsFor(file).empty()) toRead.push_back(file);
  }
  return toRead;
}

void RVXCard::take(RVXNode file, const RVXContents& contents) {
  const RVXMutexLock lock(mLock);
  mInventory.item(file).size = contents.length;
  if (contents.error || !contents.isRegularFile) {
    mUnsafe.emplace(file, contents.error.value_or("no regular file"));
    return;
  }
  for (const auto& [kind, digest] : contents.digests) {
    mRead.push_back({file, mTexts.add(RVXInventory::textOf(kind, digest))});
  }
}

RVXCard::Judgement RVXCard::judge() {
  const RVXMutexLock lock(mLock);
  findOwnDisks();
  judgeFiles();
  judgeLinks();
  Judgement judgement;
  judgement.files = mFiles.size() + mOtherCount;
  for (const auto& [node, reason] : mUnsafe) judgement.unsafe.push_back({node, reason});
  std::ranges::sort(judgement.unsafe, [this](const auto& one, const auto& other) {
    return mInventory.names().comesBefore(one.node, other.node);
  });
  return judgement;
}

void RVXCard::findOwnDisks() {
  const std::string path = mInventory.names().path(mRoot);
  const auto attributes = attributesOfTarget(path);
  if (attributes.succeeded()) {
    const auto folder = mVolumes.numberOf(attributes.value().identity, realPath(path).value_or(path));
    if (mVolumes.isOnDisk(folder)) mOwnDisks.insert(mVolumes.diskOf(folder));
  }
  for (const RVXNode file : mFiles) {
    const auto volume = std::as_const(mInventory).item(file).volume;
    if (mVolumes.isOnDisk(volume)) mOwnDisks.insert(mVolumes.diskOf(volume));
  }
}

bool RVXCard::isOnOtherDisk(RVXVolumeTable::Number volume) const {
  return mVolumes.isOnDisk(volume) && !mOwnDisks.contains(mVolumes.diskOf(volume));
}

bool RVXCard::isOfLinkText(const RVXListedDigest& listed) const {
  if (!std::as_const(mInventory).item(listed.node).isLink) return false;
  const auto text = linkTarget(mInventory.names().path(listed.node));
  return text.failed() ||
         mInventory.isEqual(listed, RVXAnyDigest::ofText(mInventory.kindOf(listed), text.value()));
}

std::vector<RVXCard::GoodCopy> RVXCard::goodCopies() const {
  std::vector<GoodCopy> good;
  for (uint32_t number = 0; number < mInventory.digestCount(); ++number) {
    const RVXListedDigest& listed = mInventory.digest(number);
    const RVXItem& item = std::as_const(mInventory).item(listed.node);
    if (item.verdict == RVXVerdict::ok && RVXListedSizes::isOfUse(mInventory, listed) &&
        isOnOtherDisk(item.volume) && !isOfLinkText(listed)) {
      good.push_back({number, mVolumes.diskOf(item.volume)});
    }
  }
  // Copies that are equal in all of these make no difference to any file of the card: one of them is enough.
  const auto key = [this](const GoodCopy& copy) {
    const RVXListedDigest& listed = mInventory.digest(copy.digest);
    return std::tuple(mInventory.textOf(listed), std::as_const(mInventory).item(listed.node).size, copy.disk);
  };
  std::ranges::sort(good, {}, key);
  good.erase(std::unique(good.begin(), good.end(),
                         [&](const GoodCopy& one, const GoodCopy& other) { return key(one) == key(other); }),
             good.end());
  return good;
}

void RVXCard::judgeFiles() {
  const std::vector<GoodCopy> good = goodCopies();
  std::ranges::sort(mRead, {}, &ReadDigest::file);
  for (const RVXNode file : mFiles) {
    if (!std::as_const(mInventory).item(file).isRegular || mUnsafe.contains(file)) continue;
    Disks disks;
    auto digest = std::ranges::lower_bound(mRead, file, {}, &ReadDigest::file);
    for (; digest != mRead.end() && digest->file == file; ++digest) {
      for (const std::string& text : RVXInventory::textsOf(mTexts.at(digest->text))) {
        addDisks(disks, good, file, text);
      }
    }
    requireCopies(file, disks.size());
  }
}

void RVXCard::addDisks(Disks& disks, const std::vector<GoodCopy>& good, RVXNode file,
                       std::string_view text) const {
  const auto textOf = [this](const GoodCopy& copy) {
    return mInventory.textOf(mInventory.digest(copy.digest));
  };
  auto copy = std::ranges::lower_bound(good, text, {}, textOf);
  for (; copy != good.end() && textOf(*copy) == text; ++copy) {
    const RVXNode node = mInventory.digest(copy->digest).node;
    const int64_t size = std::as_const(mInventory).item(node).size;
    if (size == std::as_const(mInventory).item(file).size) disks.insert(copy->disk);
  }
}

std::map<std::string, RVXCard::Disks> RVXCard::disksOfGoodLinks() const {
  std::map<std::string, Disks> links;
  for (uint32_t number = 0; number < mInventory.digestCount(); ++number) {
    const RVXNode node = mInventory.digest(number).node;
    const RVXItem& item = std::as_const(mInventory).item(node);
    if (!item.isLink || item.verdict != RVXVerdict::ok) continue;
    // The volume of the link itself, not that of the file to which it may lead.
    const std::string path = mInventory.names().path(node);
    const auto attributes = attributesOfItem(path);
    const auto text = linkTarget(path);
    if (attributes.failed() || text.failed()) continue;
    const auto volume = mVolumes.numberOf(attributes.value().identity, path);
    if (isOnOtherDisk(volume)) links[text.value()].insert(mVolumes.diskOf(volume));
  }
  return links;
}

void RVXCard::judgeLinks() {
  const bool hasLinks = std::ranges::any_of(
      mFiles, [this](RVXNode file) { return std::as_const(mInventory).item(file).isLink; });
  if (!hasLinks) return;
  const auto links = disksOfGoodLinks();
  for (const RVXNode file : mFiles) {
    if (!std::as_const(mInventory).item(file).isLink || mUnsafe.contains(file) || leadsToSafeFile(file))
      continue;
    const auto text = linkTarget(mInventory.names().path(file));
    const auto copies = text.succeeded() ? links.find(text.value()) : links.end();
    requireCopies(file, copies != links.end() ? copies->second.size() : 0);
  }
}

bool RVXCard::leadsToSafeFile(RVXNode link) const {
  const auto card = realPath(mInventory.names().path(mRoot));
  const auto target = realPath(mInventory.names().path(link));
  const std::string below = card ? *card + (*card == "/" ? "" : "/") : "";
  if (!card || !target || !target->starts_with(below)) return false;
  RVXNode node = mRoot;
  for (const std::string_view name : splitAt(std::string_view(*target).substr(below.size()), '/')) {
    if (node != RVXNameTree::kNone) node = mInventory.names().find(node, name);
  }
  return node != RVXNameTree::kNone && std::as_const(mInventory).item(node).isRegular &&
         !mUnsafe.contains(node);
}

void RVXCard::requireCopies(RVXNode file, size_t found) {
  if (found >= mCopies) return;
  mUnsafe.emplace(file, "on " + std::to_string(found) + " of " + std::to_string(mCopies) + " disks");
}

#include "check/RVXResults.h"

#include <algorithm>
#include <utility>

#include "platform/system/RVXInterruption.h"

RVXResults::RVXResults(RVXInventory& inventory, bool tellsGoodFiles, size_t pendingOthers)
    : mInventory(inventory), mTellsGoodFiles(tellsGoodFiles), mPendingOthers(pendingOthers) {
  const RVXMutexLock lock(mLock);
  mInventory.addMissingItems();
  sortNodes();
  for (const RVXNode node : mOrder) {
    count(node);
    if (std::as_const(mInventory).item(node).isOutOfChain) ++mCounts.unlisted;
  }
  for (const RVXBadLines& bad : mInventory.badLines) mCounts.badLines += bad.last - bad.first + 1;
  mCounts.unreadable += static_cast<int64_t>(mInventory.folderErrors.size());
  passSilent();
}

void RVXResults::post(RVXNode node, Checked&& checked) {
  const RVXMutexLock lock(mLock);
  if (mIsClosed) return;
  RVXItem& item = mInventory.item(node);
  item.verdict = checked.verdict;
  item.size = checked.size;
  if (item.verdict == RVXVerdict::ok) {
    item.volume = checked.volume;
  } else {
    mInventory.findings.emplace(node, std::move(checked.finding));
  }
  --mCounts.files;  // counted anew
  --mCounts.pending;
  count(node);
  passSilent();
  const bool isLast = mCounts.pending == 0 && mPendingOthers == 0;
  if (isLast || isNextKnown()) RVXInterruption::wake();
}

void RVXResults::postOther() {
  const RVXMutexLock lock(mLock);
  --mPendingOthers;
  if (mCounts.pending == 0 && mPendingOthers == 0) RVXInterruption::wake();
}

std::optional<RVXResults::Told> RVXResults::takeNext() {
  const RVXMutexLock lock(mLock);
  while (mIsClosed && mNext < mOrder.size() && !isNextKnown()) ++mNext;
  if (!isNextKnown()) return std::nullopt;
  Told told{mOrder[mNext], {}};
  const auto finding = mInventory.findings.find(told.node);
  if (finding != mInventory.findings.end()) {
    told.finding = std::move(finding->second);
    mInventory.findings.erase(finding);
  }
  ++mNext;
  passSilent();
  return told;
}

void RVXResults::close() {
  const RVXMutexLock lock(mLock);
  mIsClosed = true;
}

bool RVXResults::isFinished() const {
  const RVXMutexLock lock(mLock);
  return mCounts.pending == 0 && mPendingOthers == 0;
}

RVXCounts RVXResults::counts() const {
  const RVXMutexLock lock(mLock);
  return mCounts;
}

void RVXResults::sortNodes() {
  for (RVXNode node = 0; node < mInventory.names().size(); ++node) {
    if (mayTell(node)) mOrder.push_back(node);
  }
  std::ranges::sort(
      mOrder, [this](RVXNode one, RVXNode other) { return mInventory.names().comesBefore(one, other); });
}

bool RVXResults::mayTell(RVXNode node) const {
  return std::as_const(mInventory).item(node).verdict != RVXVerdict::none || hasOtherLines(node);
}

bool RVXResults::isSilent(RVXNode node) const {
  const RVXItem& item = std::as_const(mInventory).item(node);
  return item.verdict == RVXVerdict::ok && !mTellsGoodFiles && !item.isRenamed && !hasOtherLines(node);
}

bool RVXResults::hasOtherLines(RVXNode node) const {
  const RVXItem& item = std::as_const(mInventory).item(node);
  return item.hasBadLines || item.hasNoList || item.isOutOfChain || mInventory.folderErrors.contains(node);
}

void RVXResults::count(RVXNode node) {
  const auto finding = mInventory.findings.find(node);
  if (std::as_const(mInventory).item(node).lastDigest != RVXNameTree::kNone) ++mCounts.files;
  switch (std::as_const(mInventory).item(node).verdict) {
    case RVXVerdict::none:
    case RVXVerdict::noDigest:
      break;
    case RVXVerdict::pending:
      ++mCounts.pending;
      break;
    case RVXVerdict::ok:
      ++mCounts.ok;
      break;
    case RVXVerdict::changed:
      mCounts.changed += static_cast<int64_t>(finding->second.differences.size());
      break;
    case RVXVerdict::noRegularFile:
      mCounts.changed += static_cast<int64_t>(mInventory.digestsOf(node).size());
      break;
    case RVXVerdict::missing:
      ++mCounts.missing;
      break;
    case RVXVerdict::unreadable:
      ++mCounts.unreadable;
      break;
    case RVXVerdict::unlisted:
      ++mCounts.unlisted;
      break;
  }
}

void RVXResults::passSilent() {
  while (isNextKnown() && isSilent(mOrder[mNext])) ++mNext;
}

bool RVXResults::isNextKnown() const {
  if (mNext == mOrder.size()) return false;
  const RVXNode node = mOrder[mNext];
  if (std::as_const(mInventory).item(node).verdict != RVXVerdict::pending) return true;
  return mIsClosed && hasOtherLines(node);
}

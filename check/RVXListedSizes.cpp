#include "check/RVXListedSizes.h"

#include <algorithm>

void RVXListedSizes::find(const RVXInventory& inventory) {
  for (uint32_t number = 0; number < inventory.digestCount(); ++number) {
    const RVXListedDigest& listed = inventory.digest(number);
    const RVXItem& item = inventory.item(listed.node);
    if (item.verdict != RVXVerdict::pending || !isOfUse(inventory, listed)) continue;
    mSizes.push_back({item.size, 1U << static_cast<unsigned>(inventory.kindOf(listed))});
  }
  std::ranges::sort(mSizes, {}, &ListedSize::size);
  size_t kept = 0;
  for (const ListedSize& next : mSizes) {
    if (kept > 0 && mSizes[kept - 1].size == next.size) {
      mSizes[kept - 1].kinds |= next.kinds;
    } else {
      mSizes[kept++] = next;
    }
  }
  mSizes.resize(kept);
}

std::set<DigestKind> RVXListedSizes::kindsFor(int64_t size) const {
  const auto listed = std::ranges::lower_bound(mSizes, size, {}, &ListedSize::size);
  std::set<DigestKind> kinds;
  if (listed == mSizes.end() || listed->size != size) return kinds;
  for (const DigestKind kind : kDigestKinds) {
    if ((listed->kinds & (1U << static_cast<unsigned>(kind))) != 0) kinds.insert(kind);
  }
  return kinds;
}

bool RVXListedSizes::isOfUse(const RVXInventory& inventory, const RVXListedDigest& listed) {
  return inventory.hasDigest(listed) && inventory.kindOf(listed) != DigestKind::XXH32;
}

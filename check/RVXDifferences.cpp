#include "check/RVXDifferences.h"

#include <set>
#include <string_view>
#include <utility>

#include "platform/digests/RVXAnyDigest.h"

namespace {

bool fits(const RVXListedDigest& listed, int64_t size) {
  return listed.size == RVXListedDigest::kAnySize || listed.size == size;
}

}  // namespace

std::set<DigestKind> RVXDifferences::kindsFor(int64_t size) const {
  std::set<DigestKind> kinds;
  for (const uint32_t number : mInventory.entriesOf(mNode)) {
    const RVXListedDigest& listed = mInventory.digest(number);
    if (mInventory.hasDigest(listed) && fits(listed, size)) kinds.insert(mInventory.kindOf(listed));
  }
  return kinds;
}

std::vector<RVXFinding::Difference> RVXDifferences::of(
    int64_t size, const std::function<std::string(DigestKind)>& digestOf) const {
  std::vector<Difference> differences;
  for (const uint32_t number : mInventory.entriesOf(mNode)) {
    const RVXListedDigest& listed = mInventory.digest(number);
    if (!fits(listed, size)) {
      differences.push_back({number, "", size});
    } else if (mInventory.hasDigest(listed)) {
      std::string read = digestOf(mInventory.kindOf(listed));
      if (!mInventory.isEqual(listed, read)) differences.push_back({number, std::move(read), size});
    }
  }
  return differences;
}

std::vector<RVXFinding::Difference> RVXDifferences::ofLinkText(const std::string& text) const {
  return of(static_cast<int64_t>(text.size()),
            [&](DigestKind kind) { return RVXAnyDigest::ofText(kind, text); });
}

std::vector<RVXFinding::Difference> RVXDifferences::withoutRepetitions(
    std::vector<Difference> differences) const {
  std::set<int64_t> sizes;
  std::set<std::string_view> texts;
  std::erase_if(differences, [&](const Difference& difference) {
    const RVXListedDigest& listed = mInventory.digest(difference.digest);
    return difference.read.empty() ? !sizes.insert(listed.size).second
                                   : !texts.insert(mInventory.textOf(listed)).second;
  });
  return differences;
}

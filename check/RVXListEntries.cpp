#include "check/RVXListEntries.h"

#include <algorithm>

void RVXListEntries::begin(RVXNode list, RVXNode folder) {
  mList = static_cast<uint32_t>(mInventory.lists.size());
  mFolder = folder;
  mFirstBadLine = mInventory.badLines.size();
  mInventory.lists.push_back({list, RVXNameTree::kNone});
}

std::optional<RVXNode> RVXListEntries::fileOf(uint32_t line, const std::string& name) {
  if (name.starts_with('/')) {
    badLine(line, "absolute name");
    return std::nullopt;
  }
  const auto place = mPlaces.placeOf(mFolder, name);
  if (!place) {
    badLine(line, "name leads above PATH");
    return std::nullopt;
  }
  mInventory.item(place->node).isNamed = true;
  if (place->isOutside) mInventory.item(place->node).verdict = RVXVerdict::missing;
  if (place->inFact != RVXNameTree::kNone) mInventory.item(place->inFact).isNamed = true;
  return place->node;
}

void RVXListEntries::add(RVXNode file, std::string_view text, uint32_t line, int64_t size) {
  mInventory.addDigest(file, text, mList, line, size);
}

void RVXListEntries::badLine(uint32_t line, const std::string& problem) {
  mInventory.addBadLine(mList, line, problem);
}

void RVXListEntries::end(const RVXOutcome<>& done, const char* problem) {
  auto& badLines = mInventory.badLines;
  const auto first = badLines.begin() + static_cast<std::ptrdiff_t>(mFirstBadLine);
  if (problem != nullptr) badLines.erase(first, badLines.end());
  if (done.failed()) {
    badLine(0, done.failure().reason);
  } else if (problem != nullptr) {
    badLine(0, problem);
  }
  // They may come in any order; line 0, which stands for the whole list, is the first.
  std::ranges::sort(badLines.begin() + static_cast<std::ptrdiff_t>(mFirstBadLine), badLines.end(), {},
                    &RVXBadLines::first);
  mInventory.item(mInventory.lists.back().node).hasBadLines = badLines.size() > mFirstBadLine;
}

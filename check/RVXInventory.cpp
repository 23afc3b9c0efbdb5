#include "check/RVXInventory.h"

#include <algorithm>

void RVXInventory::addDigest(Node node, DigestKind kind, std::string_view digest, uint32_t list,
                             uint32_t line) {
  RVXItem& file = item(node);
  mDigests.push_back({node, mTexts.add(textOf(kind, digest)), list, line, file.lastDigest});
  file.lastDigest = digestCount() - 1;
}

DigestKind RVXInventory::kindOf(const RVXListedDigest& digest) const {
  return static_cast<DigestKind>(textOf(digest).front());
}

std::string_view RVXInventory::bytesOf(const RVXListedDigest& digest) const {
  return textOf(digest).substr(1);
}

std::string RVXInventory::textOf(DigestKind kind, std::string_view bytes) {
  return std::string(1, static_cast<char>(kind)).append(bytes);
}

std::vector<uint32_t> RVXInventory::digestsOf(Node node) const {
  std::vector<uint32_t> numbers;
  for (uint32_t n = mItems[node].lastDigest; n != RVXNameTree::kNone; n = mDigests[n].previous) {
    numbers.push_back(n);
  }
  const auto text = [this](uint32_t number) { return textOf(mDigests[number]); };
  std::sort(numbers.begin(), numbers.end(), [&](uint32_t one, uint32_t other) {
    return text(one) != text(other) ? text(one) < text(other) : one < other;
  });
  const auto end = std::unique(numbers.begin(), numbers.end(),
                               [&](uint32_t one, uint32_t other) { return text(one) == text(other); });
  numbers.erase(end, numbers.end());
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

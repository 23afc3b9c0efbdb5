#include "check/RVXInventory.h"

#include <algorithm>

namespace {

constexpr unsigned kInAnyOrder = 0x80;  // beside the kind

}  // namespace

std::string RVXInventory::textOf(DigestKind kind, std::string_view bytes, bool isInAnyOrder) {
  const unsigned first = static_cast<unsigned>(kind) | (isInAnyOrder ? kInAnyOrder : 0);
  return std::string(1, static_cast<char>(first)).append(bytes);
}

std::vector<std::string> RVXInventory::textsOf(std::string_view text) {
  std::vector<std::string> texts = {std::string(text)};
  const auto kind = static_cast<DigestKind>(text.front());
  if (kind != DigestKind::XXH64) return texts;
  std::string bytes(text.substr(1));
  texts.push_back(textOf(kind, bytes, true));
  std::ranges::reverse(bytes);
  texts.push_back(textOf(kind, bytes, true));
  return texts;
}

void RVXInventory::addDigest(RVXNode node, std::string_view text, uint32_t list, uint32_t line,
                             int64_t size) {
  RVXItem& file = item(node);
  mDigests.push_back({node, mTexts.add(text), list, line, file.lastDigest, size});
  file.lastDigest = digestCount() - 1;
}

std::vector<uint32_t> RVXInventory::entriesOf(RVXNode node) const {
  std::vector<uint32_t> numbers;
  for (uint32_t n = mItems[node].lastDigest; n != RVXNameTree::kNone; n = mDigests[n].previous) {
    numbers.push_back(n);
  }
  std::ranges::reverse(numbers);
  return numbers;
}

std::vector<uint32_t> RVXInventory::digestsOf(RVXNode node) const {
  std::vector<uint32_t> numbers = entriesOf(node);
  const auto text = [this](uint32_t number) { return textOf(mDigests[number]); };
  std::ranges::sort(numbers, {}, [&](uint32_t number) { return std::pair(text(number), number); });
  const auto end = std::unique(numbers.begin(), numbers.end(),
                               [&](uint32_t one, uint32_t other) { return text(one) == text(other); });
  numbers.erase(end, numbers.end());
  std::ranges::sort(numbers);
  return numbers;
}

DigestKind RVXInventory::kindOf(const RVXListedDigest& digest) const {
  return static_cast<DigestKind>(static_cast<unsigned char>(textOf(digest).front()) & ~kInAnyOrder);
}

std::string_view RVXInventory::bytesOf(const RVXListedDigest& digest) const {
  return textOf(digest).substr(1);
}

bool RVXInventory::isEqual(const RVXListedDigest& digest, std::string_view read) const {
  const std::string_view listed = bytesOf(digest);
  if (listed == read) return true;
  const bool isInAnyOrder = (static_cast<unsigned char>(textOf(digest).front()) & kInAnyOrder) != 0;
  return isInAnyOrder && std::equal(listed.begin(), listed.end(), read.rbegin(), read.rend());
}

void RVXInventory::addBadLine(uint32_t list, uint32_t line, const std::string& problem) {
  const auto known = mProblems.find(problem);
  const RVXByteStore::Place place = known != mProblems.end()
                                        ? known->second
                                        : mProblems.emplace(problem, mTexts.add(problem)).first->second;
  const bool goesOn = !badLines.empty() && badLines.back().list == list && badLines.back().problem == place &&
                      badLines.back().last + 1 == line;
  if (goesOn) {
    badLines.back().last = line;
  } else {
    badLines.push_back({list, line, line, place});
  }
}

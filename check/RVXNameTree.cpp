#include "check/RVXNameTree.h"

#include <algorithm>
#include <functional>

#include "check/PrintedText.h"
#include "platform/files/PathText.h"

RVXNode RVXNameTree::addRoot(std::string_view text) {
  return store(kNone, text);
}

RVXNode RVXNameTree::add(RVXNode parent, std::string_view name) {
  if ((mUsedSlots + 1) * 4 > mSlots.size() * 3) growSlots();
  const size_t slot = slotOf(parent, name);
  if (mSlots[slot] == kNone) {
    mSlots[slot] = store(parent, name);
    ++mUsedSlots;
  }
  return mSlots[slot];
}

RVXNode RVXNameTree::find(RVXNode parent, std::string_view name) const {
  return mSlots.empty() ? kNone : mSlots[slotOf(parent, name)];
}

RVXNode RVXNameTree::store(RVXNode parent, std::string_view name) {
  mNodes.push_back({parent, mNames.add(name)});
  return static_cast<RVXNode>(mNodes.size() - 1);
}

size_t RVXNameTree::slotOf(RVXNode parent, std::string_view name) const {
  constexpr size_t kOddFactor = 0x9E3779B97F4A7C15;
  size_t slot = (std::hash<std::string_view>()(name) ^ (parent * kOddFactor)) & (mSlots.size() - 1);
  while (mSlots[slot] != kNone &&
         (this->parent(mSlots[slot]) != parent || this->name(mSlots[slot]) != name)) {
    slot = (slot + 1) & (mSlots.size() - 1);
  }
  return slot;
}

void RVXNameTree::growSlots() {
  constexpr size_t kFirstSlots = 1024;  // a power of two, and always doubled
  const size_t count = std::max(kFirstSlots, mSlots.size() * 2);
  mSlots = {};  // first, so that the old and the new ones never take memory together
  mSlots.assign(count, kNone);
  for (RVXNode node = 0; node < mNodes.size(); ++node) {
    if (parent(node) != kNone) mSlots[slotOf(parent(node), name(node))] = node;
  }
}

std::string RVXNameTree::path(RVXNode node) const {
  std::vector<RVXNode> below;  // the root, from the node upwards
  for (; parent(node) != kNone; node = parent(node)) below.push_back(node);
  std::string path(name(node));
  for (auto next = below.rbegin(); next != below.rend(); ++next) {
    if (!path.empty() && !path.ends_with('/')) path += '/';
    path += name(*next);
  }
  return path;
}

std::string RVXNameTree::printedPath(RVXNode node) const {
  const std::string text = path(node);
  return printedText(text.empty() ? "." : text);
}

std::string RVXNameTree::pathBelowRoot(RVXNode node) const {
  if (parent(node) == kNone) return "";
  return pathByAppendingComponent(pathBelowRoot(parent(node)), name(node));
}

bool RVXNameTree::comesBefore(RVXNode one, RVXNode other) const {
  const size_t depthOfOne = depth(one);
  const size_t depthOfOther = depth(other);
  Ancestor a{one, false};
  Ancestor b{other, false};
  for (size_t level = depthOfOne; level > depthOfOther; --level) climb(a);
  for (size_t level = depthOfOther; level > depthOfOne; --level) climb(b);
  // A folder comes before all that lies in it. Not so the current one, which is printed as ".".
  if (a.node == b.node && !name(a.node).empty()) return depthOfOne < depthOfOther;
  while (parent(a.node) != parent(b.node)) {
    climb(a);
    climb(b);
  }
  const bool isOfOneTree = parent(a.node) != kNone;
  const int order = isOfOneTree ? compareNames(a, b) : printedPath(one).compare(printedPath(other));
  return order != 0 ? order < 0 : one < other;
}

size_t RVXNameTree::depth(RVXNode node) const {
  size_t depth = 0;
  for (; parent(node) != kNone; node = parent(node)) ++depth;
  return depth;
}

void RVXNameTree::climb(Ancestor& ancestor) const {
  ancestor = {parent(ancestor.node), true};
}

int RVXNameTree::compareNames(const Ancestor& one, const Ancestor& other) const {
  const std::string_view a = name(one.node);
  const std::string_view b = name(other.node);
  const auto end = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  const bool bothGoOn = end.first != a.end() && end.second != b.end();
  if (bothGoOn && isPrintedAsItIs(*end.first) && isPrintedAsItIs(*end.second)) {
    return static_cast<unsigned char>(*end.first) - static_cast<unsigned char>(*end.second);
  }
  const std::string printedOne = printedText(a) + (one.isFolder ? "/" : "");
  return printedOne.compare(printedText(b) + (other.isFolder ? "/" : ""));
}

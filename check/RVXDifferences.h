#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "check/RVXInventory.h"

// What differs between the entries of a listed file and what was found.
class RVXDifferences {
 public:
  using Difference = RVXFinding::Difference;

  RVXDifferences(const RVXInventory& inventory, RVXNode node) : mInventory(inventory), mNode(node) {}

  // The kinds of the digests that contents of that size are to be compared with.
  [[nodiscard]] std::set<DigestKind> kindsFor(int64_t size) const;

  // The entries that do not fit contents of that size, in ascending order. Where the listed size differs, the
  // digest is not looked at; else `digestOf` gives the bytes of the digest that was read, for a kind of
  // kindsFor().
  [[nodiscard]] std::vector<Difference> of(int64_t size,
                                           const std::function<std::string(DigestKind)>& digestOf) const;
  // The same for the target text of a link.
  [[nodiscard]] std::vector<Difference> ofLinkText(const std::string& text) const;

  // Without those that repeat an earlier one: the same size, or the same digest.
  [[nodiscard]] std::vector<Difference> withoutRepetitions(std::vector<Difference> differences) const;

 private:
  const RVXInventory& mInventory;
  const RVXNode mNode;
};

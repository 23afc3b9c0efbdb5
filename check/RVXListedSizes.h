#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "check/RVXInventory.h"

// The sizes of the listed files that are to be read, and with which kinds of digests files of each size are
// listed: what a file of the card needs to be compared with them.
class RVXListedSizes {
 public:
  void find(const RVXInventory& inventory);

  // None where no file of that size is listed.
  [[nodiscard]] std::set<DigestKind> kindsFor(int64_t size) const;

  // Whether a listed digest can tell that a file is a copy: one of 32 bits is too short for that.
  static bool isOfUse(const RVXInventory& inventory, const RVXListedDigest& listed);

 private:
  struct ListedSize {
    int64_t size = 0;
    uint32_t kinds = 0;  // as bits
  };

  std::vector<ListedSize> mSizes;  // sorted, each once
};

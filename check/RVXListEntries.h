#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "platform/files/RVXOutcome.h"

// Enters into the inventory what lists hold, whoever reads them: their entries, under the files that the
// names mean, and their bad lines.
class RVXListEntries {
 public:
  RVXListEntries(RVXInventory& inventory, RVXPlaces& places) : mInventory(inventory), mPlaces(places) {}

  // What follows is of that list, and its names are relative to `folder`.
  void begin(RVXNode list, RVXNode folder);

  // The file that a name means; none, and a bad line, where it can't be taken.
  std::optional<RVXNode> fileOf(uint32_t line, const std::string& name);
  // An entry of a file, as RVXInventory::addDigest().
  void add(RVXNode file, std::string_view text, uint32_t line, int64_t size = RVXListedDigest::kAnySize);
  void badLine(uint32_t line, const std::string& problem);

  // Ends the list, which could be read or not to its end. Where there is no entry in it, it has, instead of
  // all its bad lines, the one finding `problem`; else that is null.
  void end(const RVXOutcome<>& done, const char* problem);

 private:
  RVXInventory& mInventory;
  RVXPlaces& mPlaces;

  // Of the list in use:
  uint32_t mList = 0;
  RVXNode mFolder = RVXNameTree::kNone;
  size_t mFirstBadLine = 0;
};

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "platform/files/RVXOutcome.h"

// Enters the entries and bad lines of lists of any format into the inventory. Finds the file that each name
// means.
class RVXListEntries {
 public:
  RVXListEntries(RVXInventory& inventory, RVXPlaces& places) : mInventory(inventory), mPlaces(places) {}

  // Begins a list; its names are relative to `folder`.
  void begin(RVXNode list, RVXNode folder);

  // The file that a name means; none, and a bad line, where it can't be taken.
  std::optional<RVXNode> fileOf(uint32_t line, const std::string& name);
  // An entry of a file, as RVXInventory::addDigest().
  void add(RVXNode file, std::string_view text, uint32_t line, int64_t size = RVXListedDigest::kAnySize);
  void badLine(uint32_t line, const std::string& problem);

  // Ends the list. `done` says whether it could be read to its end. `problem` is null unless the list has no
  // entry at all; then one finding replaces all its bad lines: why it could not be read, or `problem`.
  void end(const RVXOutcome<>& done, const char* problem);

 private:
  RVXInventory& mInventory;
  RVXPlaces& mPlaces;

  // Of the list in use:
  uint32_t mList = 0;
  RVXNode mFolder = RVXNameTree::kNone;
  size_t mFirstBadLine = 0;
};

#pragma once

#include <cstddef>
#include <string>

#include "check/RVXHistories.h"
#include "check/RVXInventory.h"
#include "check/RVXListEntries.h"
#include "check/RVXPlaces.h"
#include "formats/RVXIgnorePatterns.h"
#include "formats/mhl/RVXMediaHashListReader.h"

// Enters into the inventory what the media hash lists hold, single ones and those of histories.
class RVXMediaListUse : private RVXMediaHashListReader::Receiver {
 public:
  RVXMediaListUse(RVXInventory& inventory, RVXPlaces& places, RVXHistories& histories)
      : mInventory(inventory), mPlaces(places), mHistories(histories), mEntries(inventory, places) {}

  // Whether `list` is a media hash list, by its name and place, or the folder of a history.
  [[nodiscard]] static bool isOne(const RVXInventory& inventory, RVXNode list);

  // Passes over what is left of the list when the user interrupts the run.
  void use(RVXNode list);

 private:
  void useHistory(RVXNode folder);
  void useList(RVXNode list, RVXNode folder, RVXMediaHashListReader::Expected expected);

  void entry(RVXMediaHash&& entry) override;
  void badLine(uint32_t line, const char* problem) override;
  void ignorePattern(const std::string& pattern) override;

  // Takes a manifest that the chain in use names.
  void takeManifest(RVXNode file, uint32_t line);
  [[nodiscard]] std::string nameOf(const RVXMediaHash& entry) const;

  RVXInventory& mInventory;
  RVXPlaces& mPlaces;
  RVXHistories& mHistories;
  RVXListEntries mEntries;

  // Of the list in use:
  RVXNode mList = RVXNameTree::kNone;
  RVXNode mFolder = RVXNameTree::kNone;
  RVXMediaHashListReader::Expected mExpected = RVXMediaHashListReader::Expected::list;
  RVXIgnorePatterns mPatterns;
  bool mIsEmpty = true;
};

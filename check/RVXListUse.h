#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "check/RVXInventory.h"
#include "check/RVXListEntries.h"
#include "check/RVXPlaces.h"
#include "formats/RVXDigestListReader.h"

// Enters into the inventory what the text lists hold.
class RVXListUse : private RVXDigestListReader::Receiver {
 public:
  RVXListUse(RVXInventory& inventory, RVXPlaces& places)
      : mInventory(inventory), mPlaces(places), mEntries(inventory, places) {}

  // To be called with each list, in the order of their printed paths.
  void use(RVXNode list);

 private:
  struct Entry {
    uint32_t line = 0;
    RVXDigestLine listed;
  };

  void entry(uint32_t line, RVXDigestLine&& entry) override;
  void badLine(uint32_t line, const char* problem) override;
  void originalFiles(std::string_view text) override;

  void addOnlyEntry();
  void add(const Entry& entry);
  // The name of the copy that a list with only this entry is about, where the copy got another name; else
  // none.
  [[nodiscard]] std::optional<std::string> otherName(const std::string& listedName);
  [[nodiscard]] bool isThere(const std::string& name);

  RVXInventory& mInventory;
  RVXPlaces& mPlaces;
  RVXListEntries mEntries;

  // Of the list in use:
  RVXNode mFolder = RVXNameTree::kNone;
  size_t mEntryCount = 0;
  std::optional<Entry> mOnlyEntry;  // held back until another one shows that it is not the only one
  std::optional<std::string> mOriginalFiles;
};

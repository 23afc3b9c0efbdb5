#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "formats/RVXDigestListReader.h"

// Enters into the inventory what the lists hold: the digests, under the files that the names mean, and the
// bad lines.
class RVXListUse : private RVXDigestListReader::Receiver {
 public:
  RVXListUse(RVXInventory& inventory, RVXPlaces& places) : mInventory(inventory), mPlaces(places) {}

  // To be called with each list, in the order of their printed paths.
  void use(RVXNameTree::Node list);

 private:
  using Node = RVXNameTree::Node;
  struct Entry {
    uint32_t line = 0;
    RVXDigestLine listed;
  };

  void entry(uint32_t line, RVXDigestLine&& entry) override;
  void badLine(uint32_t line, const char* problem) override;
  void originalFiles(std::string_view text) override;

  void addOnlyEntry();
  void add(const Entry& entry);
  // What the file of a list with that one entry is called where its copy got another name.
  [[nodiscard]] std::optional<std::string> otherName(const std::string& listedName);
  [[nodiscard]] bool isThere(const std::string& name);
  void finishBadLines(size_t firstOfList, const std::optional<std::string>& failure);
  RVXByteStore::Place problemPlace(const std::string& problem);

  RVXInventory& mInventory;
  RVXPlaces& mPlaces;
  std::map<std::string, RVXByteStore::Place> mProblems;

  // Of the list in use:
  uint32_t mList = 0;
  Node mFolder = RVXNameTree::kNone;
  size_t mEntryCount = 0;
  std::optional<Entry> mOnlyEntry;  // held back until another one shows that it is not the only one
  std::optional<std::string> mOriginalFiles;
};

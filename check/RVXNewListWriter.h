#pragma once

#include <cstddef>
#include <string>

#include "check/RVXFolderDigests.h"
#include "check/RVXInventory.h"
#include "check/RVXNewListFile.h"
#include "check/RVXReadFacts.h"
#include "check/RVXScope.h"
#include "formats/mhl/NewMediaHashes.h"
#include "platform/files/RVXOutcome.h"

// Writes the new list of one scope, all of whose files were read. Afterwards either the whole list is there
// or nothing of it; after a failure nothing, unless only the last sync of a folder failed. It is a failure,
// too, when the user interrupts the run before the list has its name.
class RVXNewListWriter {
 public:
  RVXNewListWriter(const RVXInventory& inventory, const RVXReadFacts& facts, const RVXListCreator& creator,
                   const RVXScope& scope)
      : mInventory(inventory), mFacts(facts), mCreator(creator), mScope(scope) {}

  // Both return the list's path below the scope's folder. This one never replaces a file.
  [[nodiscard]] RVXOutcome<std::string> writeMHL() const;
  // Writes a manifest, the next generation of the history, and replaces the chain.
  [[nodiscard]] RVXOutcome<std::string> writeGeneration() const;

 private:
  using Entry = RVXScope::Entry;
  struct Files {
    RVXNewListFile manifest;
    RVXNewListFile chain;
  };

  [[nodiscard]] std::string folder() const { return mInventory.names().path(mScope.path); }
  [[nodiscard]] RVXNewFileHash hashOf(const Entry& entry) const;
  [[nodiscard]] bool isKnown(RVXNode file) const;
  void fillManifest(RVXNewListFile& file) const;
  void fillChain(RVXNewListFile& file, const std::string& name, const std::string& sha512) const;
  [[nodiscard]] RVXOutcome<Files> makeFiles(const std::string& history, const std::string& name) const;
  static RVXOutcome<> placeManifest(RVXNewListFile& manifest, const std::string& history,
                                    const std::string& name);
  // Both end with the rename that makes it so, and a sync.
  [[nodiscard]] RVXOutcome<> addToHistory(const std::string& name) const;
  [[nodiscard]] RVXOutcome<> beginHistory(const std::string& name) const;

  const RVXInventory& mInventory;
  const RVXReadFacts& mFacts;
  const RVXListCreator& mCreator;
  const RVXScope& mScope;
};

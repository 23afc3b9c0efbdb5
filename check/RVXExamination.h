#pragma once

#include <string>
#include <vector>

#include "check/RVXHistories.h"
#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "check/RVXVolumeTable.h"

// Looks at every listed file before anything is read: what is missing, how large each file is, on which
// volume it lies, and what a link alone can tell. What is left has the verdict `pending`.
class RVXExamination {
 public:
  RVXExamination(RVXInventory& inventory, const RVXPlaces& places, const RVXHistories& histories,
                 RVXVolumeTable& volumes)
      : mInventory(inventory), mPlaces(places), mHistories(histories), mVolumes(volumes) {}

  // The files that are to be read, in the order of the lists. When the user interrupts the run, all that
  // were not looked at yet are among them.
  std::vector<RVXNode> examineListedFiles();

  // Says which files no list names, but for those that a history excuses, and which manifests their chain
  // does not. Ends early when the user interrupts the run.
  void findUnlistedFiles();

 private:
  // What the entries of a file are.
  struct Entries {
    bool haveDigest = false;  // at least one
    bool haveFolder = false;
    bool haveFile = false;
    uint32_t firstOfFile = 0;
  };

  [[nodiscard]] Entries entriesOf(RVXNode node) const;
  void addBadLineWithoutDigest(uint32_t entry);
  void examine(RVXNode node, const Entries& entries);
  void examineRegularFile(RVXNode node, const std::string& path, const RVXFileAttributes& attributes);
  void examineLink(RVXNode node, const std::string& path, const RVXFileAttributes& attributes);
  [[nodiscard]] bool leadsToFolder(const std::string& path) const;

  RVXInventory& mInventory;
  const RVXPlaces& mPlaces;
  const RVXHistories& mHistories;
  RVXVolumeTable& mVolumes;
};

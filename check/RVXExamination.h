#pragma once

#include <string>
#include <vector>

#include "check/RVXHistories.h"
#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "check/RVXVolumeTable.h"

// Looks at every listed file before anything is read: whether it is there, how large it is, on which volume
// it lies, and whether a link is good by its target text. What is still to be read has the verdict `pending`.
class RVXExamination {
 public:
  RVXExamination(RVXInventory& inventory, const RVXPlaces& places, const RVXHistories& histories,
                 RVXVolumeTable& volumes)
      : mInventory(inventory), mPlaces(places), mHistories(histories), mVolumes(volumes) {}

  // The files that are to be read, in the order of the lists. When the user interrupts the run, all that
  // were not looked at yet are among them.
  std::vector<RVXNode> examineListedFiles();

  // Marks the files that no list names (except those that a history excuses), and the manifests that the
  // chain of their history does not name. Ends early when the user interrupts the run.
  void findUnlistedFiles();

 private:
  // What kinds of entries the lists have for one file.
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

#pragma once

#include <string>
#include <vector>

#include "check/RVXInventory.h"
#include "check/RVXPlaces.h"
#include "check/RVXVolumeTable.h"

// Looks at every listed file before anything is read: what is missing, how large each file is, on which
// volume it lies, and what a link alone can tell. What is left has the verdict `pending`.
class RVXExamination {
 public:
  using Node = RVXNameTree::Node;

  RVXExamination(RVXInventory& inventory, const RVXPlaces& places, RVXVolumeTable& volumes)
      : mInventory(inventory), mPlaces(places), mVolumes(volumes) {}

  // The files that are to be read, in the order of the lists. When the user interrupts the run, all that
  // were not looked at yet are among them.
  std::vector<Node> examineListedFiles();

  // Says which files no list names.
  void findUnlistedFiles();

 private:
  void examine(Node node);
  void examineRegularFile(Node node, const std::string& path, const RVXFileAttributes& attributes);
  void examineLink(Node node, const std::string& path, const RVXFileAttributes& attributes);

  RVXInventory& mInventory;
  const RVXPlaces& mPlaces;
  RVXVolumeTable& mVolumes;
};

// The listed digests that differ from those of a link's target text.
std::vector<RVXFinding::Difference> differencesOfLinkText(const RVXInventory& inventory,
                                                          RVXNameTree::Node node, const std::string& text);

#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "check/RVXByteStore.h"

// The number of a file, folder or list in the tree of names.
using RVXNode = uint32_t;

// The names of all files, folders and lists of a run, each stored once below its folder's. Nodes are only
// ever added. What the names stand for is not known here. Used by one thread while nodes are added, read by
// any number afterwards.
class RVXNameTree {
 public:
  static constexpr RVXNode kNone = UINT32_MAX;

  // A new root, whose paths begin with `text`: a path as it was given, or empty for the current folder.
  RVXNode addRoot(std::string_view text);

  // The node of that name in the folder `parent`; find() gives kNone where it was never added.
  RVXNode add(RVXNode parent, std::string_view name);
  [[nodiscard]] RVXNode find(RVXNode parent, std::string_view name) const;

  [[nodiscard]] size_t size() const { return mNodes.size(); }
  // kNone for a root.
  [[nodiscard]] RVXNode parent(RVXNode node) const { return mNodes[node].parent; }
  // The whole text of a root.
  [[nodiscard]] std::string_view name(RVXNode node) const { return mNames.at(mNodes[node].name); }

  // The path for the system, and as it is printed.
  [[nodiscard]] std::string path(RVXNode node) const;
  [[nodiscard]] std::string printedPath(RVXNode node) const;
  // The path below the node's root; empty for the root.
  [[nodiscard]] std::string pathBelowRoot(RVXNode node) const;

  // The order of the printed paths, bytewise; of equal paths the node that was added first comes first.
  [[nodiscard]] bool comesBefore(RVXNode one, RVXNode other) const;

 private:
  struct Stored {
    RVXNode parent = kNone;
    RVXByteStore::Place name = 0;
  };
  // A node on the way up to the root. `isFolder`: not the one where the way began.
  struct Ancestor {
    RVXNode node = kNone;
    bool isFolder = false;
  };

  RVXNode store(RVXNode parent, std::string_view name);
  [[nodiscard]] size_t slotOf(RVXNode parent, std::string_view name) const;
  void growSlots();
  [[nodiscard]] size_t depth(RVXNode node) const;
  void climb(Ancestor& ancestor) const;
  [[nodiscard]] int compareNames(const Ancestor& one, const Ancestor& other) const;

  RVXByteStore mNames;
  std::deque<Stored> mNodes;    // no vector: it would hold everything twice while it grows
  std::vector<RVXNode> mSlots;  // nodes with a parent, found by the hash of parent and name; kNone: free
  size_t mUsedSlots = 0;
};

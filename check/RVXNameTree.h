#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "check/RVXByteStore.h"

// The names of all files, folders and lists of a run, each stored once below its folder's. A node is a
// number; nodes are only ever added. What the names stand for is not known here. Used by one thread while
// nodes are added, read by any number afterwards.
class RVXNameTree {
 public:
  using Node = uint32_t;
  static constexpr Node kNone = UINT32_MAX;

  // A new root, whose paths begin with `text`: a path as it was given, or empty for the current folder.
  Node addRoot(std::string_view text);

  // The node of that name in the folder `parent`; find() gives kNone where it was never added.
  Node add(Node parent, std::string_view name);
  [[nodiscard]] Node find(Node parent, std::string_view name) const;

  [[nodiscard]] size_t size() const { return mNodes.size(); }
  // kNone for a root.
  [[nodiscard]] Node parent(Node node) const { return mNodes[node].parent; }
  // The whole text of a root.
  [[nodiscard]] std::string_view name(Node node) const { return mNames.at(mNodes[node].name); }

  // The path for the system, and as it is printed.
  [[nodiscard]] std::string path(Node node) const;
  [[nodiscard]] std::string printedPath(Node node) const;
  // The path below the node's root; empty for the root.
  [[nodiscard]] std::string pathBelowRoot(Node node) const;

  // The order of the printed paths, bytewise; of equal paths the node that was added first comes first.
  [[nodiscard]] bool comesBefore(Node one, Node other) const;

 private:
  struct Stored {
    Node parent = kNone;
    RVXByteStore::Place name = 0;
  };
  // A node on the way up to the root. `isFolder`: not the one where the way began.
  struct Ancestor {
    Node node = kNone;
    bool isFolder = false;
  };

  Node store(Node parent, std::string_view name);
  [[nodiscard]] size_t slotOf(Node parent, std::string_view name) const;
  void growSlots();
  [[nodiscard]] size_t depth(Node node) const;
  void climb(Ancestor& ancestor) const;
  [[nodiscard]] int compareNames(const Ancestor& one, const Ancestor& other) const;

  RVXByteStore mNames;
  std::deque<Stored> mNodes;  // no vector: it would hold everything twice while it grows
  std::vector<Node> mSlots;   // nodes with a parent, found by the hash of parent and name; kNone: free
  size_t mUsedSlots = 0;
};

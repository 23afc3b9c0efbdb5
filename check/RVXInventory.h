#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "check/RVXByteStore.h"
#include "check/RVXNameTree.h"
#include "include/DigestKind.h"

// What is known of a file that is listed, found below a PATH, or on the card.
enum class RVXVerdict : uint8_t {
  none,     // no list names it, and it needs no word
  pending,  // to be read
  ok,
  changed,
  noRegularFile,  // nor a link, and listed
  missing,
  unreadable,
  unlisted,
};

struct RVXItem {
  int64_t size = 0;                          // bytes; once it was read, those that were read
  uint32_t lastDigest = RVXNameTree::kNone;  // the last of its digests, see RVXListedDigest
  uint16_t volume = 0;                       // on which its bytes lie, a number of RVXVolumeTable
  RVXVerdict verdict = RVXVerdict::none;
  bool isFound : 1 = false;  // when the folders were walked, with this type:
  bool isFolder : 1 = false;
  bool isLink : 1 = false;
  bool isRegular : 1 = false;
  bool isNamed : 1 = false;  // by a list, possibly under another name
  bool isList : 1 = false;
  bool isListFolder : 1 = false;  // a list lies in it or below
  bool isRenamed : 1 = false;     // listed under another file's name
  bool hasBadLines : 1 = false;
  bool hasNoList : 1 = false;  // a folder PATH without any
};

// A digest that a list holds of a file. Those of one file are chained from the last to the first.
struct RVXListedDigest {
  RVXNameTree::Node node = RVXNameTree::kNone;
  RVXByteStore::Place text = 0;  // its kind and its bytes
  uint32_t list = 0;
  uint32_t line = 0;
  uint32_t previous = RVXNameTree::kNone;
};

struct RVXUsedList {
  RVXNameTree::Node node = RVXNameTree::kNone;
  uint32_t listedName = RVXNameTree::kNone;  // in texts(): what a renamed copy is called in it
};

// Lines without a gap between them that have the same problem. A list that is bad as a whole has line 0.
struct RVXBadLines {
  uint32_t list = 0;
  uint32_t first = 0;
  uint32_t last = 0;
  RVXByteStore::Place problem = 0;
};

// Why a listed file is not ok.
struct RVXFinding {
  struct Difference {
    uint32_t digest = 0;  // the listed one that differs
    std::string read;     // bytes
  };
  std::vector<Difference> differences;
  std::string error;  // of what can't be read, with the offset where there is one
};

// All that a run knows of its files, in little memory. Filled by the examination, on one thread; while the
// files are read, the items' verdicts and the findings are RVXResults' to guard, and nothing else changes.
class RVXInventory {
 public:
  using Node = RVXNameTree::Node;

  RVXNameTree& names() { return mNames; }
  [[nodiscard]] const RVXNameTree& names() const { return mNames; }

  // Of a node that is in the tree by now.
  RVXItem& item(Node node) {
    addMissingItems();
    return mItems[node];
  }
  [[nodiscard]] const RVXItem& item(Node node) const { return mItems[node]; }

  // To be called before the inventory is only read: each node of the tree has an item from now on.
  void addMissingItems() {
    if (mItems.size() < mNames.size()) mItems.resize(mNames.size());
  }

  // Adds a digest, given as bytes, to those of its file.
  void addDigest(Node node, DigestKind kind, std::string_view digest, uint32_t list, uint32_t line);
  [[nodiscard]] const RVXListedDigest& digest(uint32_t number) const { return mDigests[number]; }
  [[nodiscard]] uint32_t digestCount() const { return static_cast<uint32_t>(mDigests.size()); }
  [[nodiscard]] DigestKind kindOf(const RVXListedDigest& digest) const;
  [[nodiscard]] std::string_view bytesOf(const RVXListedDigest& digest) const;
  // Kind and bytes as one text: equal where both are.
  [[nodiscard]] std::string_view textOf(const RVXListedDigest& digest) const {
    return mTexts.at(digest.text);
  }
  static std::string textOf(DigestKind kind, std::string_view bytes);
  // The numbers of a file's digests in the order of lists and lines, identical ones once.
  [[nodiscard]] std::vector<uint32_t> digestsOf(Node node) const;

  RVXByteStore& texts() { return mTexts; }
  [[nodiscard]] const RVXByteStore& texts() const { return mTexts; }

  std::vector<RVXUsedList> lists;            // in the order of their printed paths
  std::deque<RVXBadLines> badLines;          // in the order of the lists and lines
  std::map<Node, std::string> folderErrors;  // of folders that can't be listed
  std::map<Node, RVXFinding> findings;
  bool hasPathWithoutList = false;

 private:
  RVXNameTree mNames;
  std::deque<RVXItem> mItems;
  std::deque<RVXListedDigest> mDigests;
  RVXByteStore mTexts;
};

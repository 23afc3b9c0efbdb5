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
  noDigest,  // listed, of the right size if one is listed, and nothing to compare it with
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
  bool hasNoList : 1 = false;     // a folder PATH without any
  bool isHistory : 1 = false;     // a folder "ascmhl"
  bool isInChain : 1 = false;     // a manifest that the chain beside it names
  bool isOutOfChain : 1 = false;  // a manifest that it should name
};

// An entry of a list: the digest of a file, or a file without a digest, or a folder. The entries of one file
// are chained from the last to the first.
struct RVXListedDigest {
  static constexpr int64_t kAnySize = -1;

  RVXNode node = RVXNameTree::kNone;
  RVXByteStore::Place text = 0;  // as RVXInventory::textOf(), or one of its other texts
  uint32_t list = 0;
  uint32_t line = 0;
  uint32_t previous = RVXNameTree::kNone;
  int64_t size = kAnySize;  // bytes, as listed with it
};

struct RVXUsedList {
  RVXNode node = RVXNameTree::kNone;
  uint32_t listedName = RVXNameTree::kNone;  // in texts(): what a renamed copy is called in it
};

// Consecutive lines with the same problem. Line 0 stands for the list as a whole.
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
    std::string read;     // bytes; empty where it is the size that differs:
    int64_t size = 0;
  };
  std::vector<Difference> differences;
  std::string error;  // of what can't be read, with the offset where there is one
};

// All that a run knows of its files, in little memory. Filled by the examination, on one thread; while the
// files are read, the items' verdicts and the findings are RVXResults' to guard, and nothing else changes.
class RVXInventory {
 public:
  RVXNameTree& names() { return mNames; }
  [[nodiscard]] const RVXNameTree& names() const { return mNames; }

  // Requires a node of the tree; makes its item where there is none yet.
  RVXItem& item(RVXNode node) {
    addMissingItems();
    return mItems[node];
  }
  [[nodiscard]] const RVXItem& item(RVXNode node) const { return mItems[node]; }

  // To be called before the inventory is only read: each node of the tree has an item from now on.
  void addMissingItems() {
    if (mItems.size() < mNames.size()) mItems.resize(mNames.size());
  }

  // The texts of two kinds of entries that have no digest: of a file, and of a folder.
  static constexpr std::string_view kNoDigest{};
  static constexpr std::string_view kFolder = "/";

  // Kind and bytes of a digest as one text, so that equal texts mean equal digests. `isInAnyOrder`: the bytes
  // may also be meant in the opposite order.
  static std::string textOf(DigestKind kind, std::string_view bytes, bool isInAnyOrder = false);
  // The texts of all entries that contents with this digest fit: this one, and of an XXH64 also those whose
  // bytes may be in either order.
  static std::vector<std::string> textsOf(std::string_view text);

  // Adds an entry of that text to those of its file.
  void addDigest(RVXNode node, std::string_view text, uint32_t list, uint32_t line,
                 int64_t size = RVXListedDigest::kAnySize);
  [[nodiscard]] const RVXListedDigest& digest(uint32_t number) const { return mDigests[number]; }
  [[nodiscard]] uint32_t digestCount() const { return static_cast<uint32_t>(mDigests.size()); }
  [[nodiscard]] std::string_view textOf(const RVXListedDigest& digest) const {
    return mTexts.at(digest.text);
  }
  // The numbers of a file's entries in the order of lists and lines; of identical ones only the first.
  [[nodiscard]] std::vector<uint32_t> entriesOf(RVXNode node) const;
  [[nodiscard]] std::vector<uint32_t> digestsOf(RVXNode node) const;

  [[nodiscard]] bool isFolder(const RVXListedDigest& digest) const { return textOf(digest) == kFolder; }
  [[nodiscard]] bool hasDigest(const RVXListedDigest& digest) const {
    return textOf(digest) != kNoDigest && !isFolder(digest);
  }
  // These three require an entry that has a digest.
  [[nodiscard]] DigestKind kindOf(const RVXListedDigest& digest) const;
  [[nodiscard]] std::string_view bytesOf(const RVXListedDigest& digest) const;
  [[nodiscard]] bool isEqual(const RVXListedDigest& digest, std::string_view read) const;

  // Says that lines of a list can't be used; those of one list are sorted afterwards.
  void addBadLine(uint32_t list, uint32_t line, const std::string& problem);

  RVXByteStore& texts() { return mTexts; }
  [[nodiscard]] const RVXByteStore& texts() const { return mTexts; }

  std::vector<RVXUsedList> lists;               // in the order of their printed paths
  std::deque<RVXBadLines> badLines;             // in the order of the lists and lines
  std::map<RVXNode, std::string> folderErrors;  // of folders that can't be listed
  std::map<RVXNode, RVXFinding> findings;
  bool hasPathWithoutList = false;

 private:
  RVXNameTree mNames;
  std::deque<RVXItem> mItems;
  std::deque<RVXListedDigest> mDigests;
  RVXByteStore mTexts;
  std::map<std::string, RVXByteStore::Place> mProblems;
};

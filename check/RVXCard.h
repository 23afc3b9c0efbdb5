#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check/RVXByteStore.h"
#include "check/RVXContents.h"
#include "check/RVXFolderWalk.h"
#include "check/RVXInventory.h"
#include "check/RVXListedSizes.h"
#include "check/RVXVolumeTable.h"
#include "platform/threads/RVXMutex.h"

// The camera card, and which of its files have enough good copies below the PATHs.
//
// Used in this order: find(), filesToRead(), then kindsFor() and take() from any thread for each of these,
// and judge() when all verdicts are known.
class RVXCard : private RVXFolderWalk {
 public:
  RVXCard(RVXInventory& inventory, RVXVolumeTable& volumes, const std::string& path, size_t copies);

  // Finds what is on the card.
  void find(const RVXIgnoredNames& ignored);

  // The files that may have a copy, because a listed file has the same size. To be called after the listed
  // files were examined.
  std::vector<RVXNode> filesToRead();

  // The kinds of digests that are listed for files of this one's size.
  [[nodiscard]] std::set<DigestKind> kindsFor(RVXNode file) const {
    return mListedSizes.kindsFor(std::as_const(mInventory).item(file).size);
  }

  // Takes what was read of a file.
  void take(RVXNode file, const RVXContents& contents) RVX_EXCLUDES(mLock);

  struct Judgement {
    struct Unsafe {
      RVXNode node = RVXNameTree::kNone;
      std::string reason;
    };
    std::vector<Unsafe> unsafe;  // in the order of the printed paths
    size_t files = 0;            // and whatever else must be safe
    [[nodiscard]] bool mayBeFormatted() const { return files > 0 && unsafe.empty(); }
  };
  [[nodiscard]] Judgement judge() RVX_EXCLUDES(mLock);

 private:
  using Disks = std::set<size_t>;

  RVXNode enterFolder(RVXNode parent, const std::string& name) override;
  void foundFile(RVXNode parent, const std::string& name, RVXFileType type) override;
  void foundUnreadableFolder(RVXNode folder, const RVXIOFailure& failure) override;

  // A listed digest of a good file, and the disk that the file lies on.
  struct GoodCopy {
    uint32_t digest = 0;
    size_t disk = 0;
  };

  void examine(RVXNode file) RVX_EXCLUDES(mLock);
  void findOwnDisks();
  [[nodiscard]] bool isOnOtherDisk(RVXVolumeTable::Number volume) const;
  // Whether the listed digest is that of a link's target text, which says nothing of any contents.
  [[nodiscard]] bool isOfLinkText(const RVXListedDigest& listed) const;
  [[nodiscard]] std::vector<GoodCopy> goodCopies() const;
  void judgeFiles() RVX_REQUIRES(mLock);
  void addDisks(Disks& disks, const std::vector<GoodCopy>& good, RVXNode file, std::string_view text) const;
  [[nodiscard]] std::map<std::string, Disks> disksOfGoodLinks() const;
  void judgeLinks() RVX_REQUIRES(mLock);
  [[nodiscard]] bool leadsToSafeFile(RVXNode link) const RVX_REQUIRES(mLock);
  void requireCopies(RVXNode file, size_t found) RVX_REQUIRES(mLock);

  struct ReadDigest {
    RVXNode file = RVXNameTree::kNone;
    RVXByteStore::Place text = 0;  // as RVXInventory::textOf()
  };

  RVXInventory& mInventory;
  RVXVolumeTable& mVolumes;
  const size_t mCopies;
  const RVXNode mRoot;
  std::vector<RVXNode> mFiles;  // and links
  RVXListedSizes mListedSizes;
  Disks mOwnDisks;

  RVXMutex mLock;
  std::map<RVXNode, std::string> mUnsafe RVX_GUARDED_BY(mLock);  // and why
  std::deque<ReadDigest> mRead RVX_GUARDED_BY(mLock);
  RVXByteStore mTexts RVX_GUARDED_BY(mLock);
  size_t mOtherCount RVX_GUARDED_BY(mLock) = 0;  // items in mUnsafe that are neither file nor link
};

#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "platform/files/RVXFileAttributes.h"
#include "platform/files/RVXVolume.h"
#include "platform/threads/RVXMutex.h"

// The volumes of all files of a run, and which of them share a disk. A volume is a number, found by the
// device number of its files. Any thread may call.
class RVXVolumeTable {
 public:
  using Number = uint16_t;

  // The volume of the item at `path` with that identity, a final link not followed, or followed.
  Number numberOf(const RVXFileIdentity& identity, const std::string& path) RVX_EXCLUDES(mLock);
  Number numberOfTarget(const RVXFileIdentity& identity, const std::string& path) RVX_EXCLUDES(mLock);

  // The disk of the volume. Two volumes have the same number when they share a disk, directly or through
  // other volumes.
  [[nodiscard]] size_t diskOf(Number volume) const RVX_EXCLUDES(mLock);

  // Whether the volume lies on a disk at all, so that copies there count.
  [[nodiscard]] bool isOnDisk(Number volume) const RVX_EXCLUDES(mLock);

  [[nodiscard]] bool isRotational(size_t disk) const RVX_EXCLUDES(mLock);

  // Notes that bytes of the file at `path`, a final link followed, were read.
  void noteRead(const RVXFileIdentity& identity, const std::string& path) RVX_EXCLUDES(mLock);

  // The mount points of the volumes that were read from, perhaps from memory, sorted.
  [[nodiscard]] std::vector<std::string> mountPointsReadFromMemory() const RVX_EXCLUDES(mLock);

 private:
  struct Entry {
    uint64_t device = 0;
    RVXVolume volume;
    Number number = 0;
    size_t disk = 0;
    std::optional<bool> isReadFromMemory;  // none: nothing was read yet
  };

  Entry* known(const RVXFileIdentity& identity) RVX_REQUIRES(mLock);
  Entry& add(const RVXFileIdentity& identity, const std::string& path) RVX_REQUIRES(mLock);
  Entry& entryOfTarget(const RVXFileIdentity& identity, const std::string& path) RVX_REQUIRES(mLock);
  void joinSharedDisks() RVX_REQUIRES(mLock);

  mutable RVXMutex mLock;
  std::deque<Entry> mEntries RVX_GUARDED_BY(mLock);
};

#include "check/RVXVolumeTable.h"

#include <algorithm>

#include "platform/files/FileSystem.h"

RVXVolumeTable::Number RVXVolumeTable::numberOf(const RVXFileIdentity& identity, const std::string& path) {
  const RVXMutexLock lock(mLock);
  const Entry* const entry = known(identity);
  return entry != nullptr ? entry->number : add(identity, path).number;
}

RVXVolumeTable::Number RVXVolumeTable::numberOfTarget(const RVXFileIdentity& identity,
                                                      const std::string& path) {
  const RVXMutexLock lock(mLock);
  return entryOfTarget(identity, path).number;
}

size_t RVXVolumeTable::diskOf(Number volume) const {
  const RVXMutexLock lock(mLock);
  return mEntries[volume].disk;
}

bool RVXVolumeTable::isOnDisk(Number volume) const {
  const RVXMutexLock lock(mLock);
  return !mEntries[volume].volume.disks.empty();
}

bool RVXVolumeTable::isRotational(size_t disk) const {
  const RVXMutexLock lock(mLock);
  return std::ranges::any_of(
      mEntries, [&](const Entry& entry) { return entry.disk == disk && entry.volume.isRotational; });
}

void RVXVolumeTable::noteRead(const RVXFileIdentity& identity, const std::string& path) {
  const RVXMutexLock lock(mLock);
  auto& isReadFromMemory = entryOfTarget(identity, path).isReadFromMemory;
  if (!isReadFromMemory) isReadFromMemory = mayBeReadFromMemory(path);
}

std::vector<std::string> RVXVolumeTable::mountPointsReadFromMemory() const {
  const RVXMutexLock lock(mLock);
  std::vector<std::string> mountPoints;
  for (const Entry& entry : mEntries) {
    if (entry.isReadFromMemory.value_or(false)) mountPoints.push_back(entry.volume.mountPoint);
  }
  std::ranges::sort(mountPoints);
  return mountPoints;
}

RVXVolumeTable::Entry* RVXVolumeTable::known(const RVXFileIdentity& identity) {
  const auto entry = std::ranges::find(mEntries, identity.device, &Entry::device);
  return entry != mEntries.end() ? &*entry : nullptr;
}

RVXVolumeTable::Entry& RVXVolumeTable::add(const RVXFileIdentity& identity, const std::string& path) {
  const size_t number = mEntries.size();
  mEntries.push_back(
      {identity.device, RVXVolume::ofItem(path), static_cast<Number>(number), number, std::nullopt});
  joinSharedDisks();
  return mEntries.back();
}

RVXVolumeTable::Entry& RVXVolumeTable::entryOfTarget(const RVXFileIdentity& identity,
                                                     const std::string& path) {
  Entry* const entry = known(identity);
  return entry != nullptr ? *entry : add(identity, realPath(path).value_or(path));
}

void RVXVolumeTable::joinSharedDisks() {
  const Entry& added = mEntries.back();
  const size_t disk = added.disk;
  for (const Entry& entry : mEntries) {
    const auto shared = std::ranges::find_first_of(entry.volume.disks, added.volume.disks);
    if (entry.disk == disk || shared == entry.volume.disks.end()) continue;
    const size_t joined = entry.disk;
    for (Entry& other : mEntries) {
      if (other.disk == joined) other.disk = disk;
    }
  }
}

#include "platform/files/RVXStorageWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/files/RVXCacheBypass.h"
#include "platform/files/RVXTransfer.h"

RVXStorageWriter RVXStorageWriter::openForWriting(const std::string& path) {
  return openWithFlags(path, O_WRONLY | O_CREAT | O_NOFOLLOW);
}

RVXStorageWriter RVXStorageWriter::createForWriting(const std::string& path) {
  return openWithFlags(path, O_WRONLY | O_CREAT | O_EXCL);
}

RVXStorageWriter RVXStorageWriter::openWithFlags(const std::string& path, int flags) {
  return RVXStorageWriter(RVXFileHandle::openWithoutPeer(path, flags));
}

std::optional<RVXIOFailure> RVXStorageWriter::truncate() {
  const auto attributes = mHandle.attributes();
  if (!attributes) return failureFromErrno();
  // Devices have no size that could be changed.
  if (attributes->type == RVXFileType::regular && ::ftruncate(mHandle.descriptor(), 0) != 0)
    return failureFromErrno();
  return std::nullopt;
}

void RVXStorageWriter::bypassCache() {
  const int descriptor = isOpen() ? mHandle.descriptor() : STDIN_FILENO;
  adviseNoReuse(descriptor);
  mBypassesCache = isOpen() && isOnStorage();
  mWritesUncached = mBypassesCache;
  mSettlesRanges = mBypassesCache && canWriteBackRanges(descriptor);
}

std::optional<RVXIOFailure> RVXStorageWriter::write(std::span<const std::byte> bytes) {
  const int64_t start = mWritten;
  if (auto failure = writeWholeUncached(mHandle.descriptor(), bytes, mWritesUncached)) return failure;
  mWritten += static_cast<int64_t>(bytes.size());
  if (!mBypassesCache) return std::nullopt;
  if (!mWritesUncached) startWriteBack(mHandle.descriptor(), start, mWritten - start);
  return settle();
}

std::optional<RVXIOFailure> RVXStorageWriter::makeDurable() {
  if (auto failure = syncData(mHandle.descriptor())) return failure;
  if (mBypassesCache) dropCachedRange(mHandle.descriptor(), 0, 0);
  return std::nullopt;
}

std::optional<RVXIOFailure> RVXStorageWriter::settle() {
  if (mWritten - mSettled <= kMostUnsettled) return std::nullopt;
  // Where only the whole file can be waited for, that is done once in a while and not for each block.
  const int64_t settled = mSettlesRanges ? mWritten - kMostUnsettled : mWritten;
  auto failure = mSettlesRanges ? waitForWriteBack(mHandle.descriptor(), mSettled, settled - mSettled)
                                : syncData(mHandle.descriptor());
  if (failure) return failure;
  dropCachedRange(mHandle.descriptor(), mSettled, settled - mSettled);
  mSettled = settled;
  return std::nullopt;
}

bool RVXStorageWriter::isOnStorage() const {
  const auto attributes = mHandle.attributes();
  return attributes && attributes->isOnStorage();
}

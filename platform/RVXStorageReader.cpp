#include "platform/RVXStorageReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/RVXCacheBypass.h"
#include "platform/RVXTransfer.h"

std::optional<RVXStorageReader> RVXStorageReader::openForReading(const std::string& path) {
  // Without O_NONBLOCK the opening of a FIFO would wait for a writer, maybe for ever.
  RVXFileHandle handle = RVXFileHandle::open(path, O_RDONLY | O_NONBLOCK);
  if (!handle.isOpen()) return std::nullopt;
  struct stat status {};
  if (::fstat(handle.descriptor(), &status) != 0 || S_ISFIFO(status.st_mode)) return std::nullopt;
  return RVXStorageReader(std::move(handle), status.st_size);
}

void RVXStorageReader::bypassCache() {
  mBypassesCache = hasCachedPages(mHandle.descriptor());
  mMayBeDirect = mBypassesCache;
  if (mBypassesCache) dropCachedFile(mHandle.descriptor());
}

void RVXStorageReader::readAhead() {
  adviseSequential(mHandle.descriptor());
}

void RVXStorageReader::seek(int64_t offset) {
  mOffset = offset;
  ::lseek(mHandle.descriptor(), offset, SEEK_SET);
}

std::optional<RVXIOFailure> RVXStorageReader::readUpToCapacity(RVXBlock& block) {
  const std::span<std::byte> storage = block.storage();
  const int64_t start = mOffset;
  size_t filled = 0;
  goDirectWhereAligned();
  while (filled < storage.size()) {
    const RVXReadResult piece = readSome(mHandle.descriptor(), limitedToFile(storage.subspan(filled)));
    if (piece.failure && mIsDirect && refusesDirect(piece.failure->code)) {
      mMayBeDirect = false;
      goBuffered();
      continue;
    }
    if (piece.failure) return piece.failure;
    if (piece.length == 0) break;
    filled += piece.length;
    mOffset += static_cast<int64_t>(piece.length);
    // Behind the end that the file had, a plain read tells whether it has grown. Before it, a short direct
    // read leaves an offset that is no longer aligned.
    if (mIsDirect && (mOffset >= mSizeWhenOpened || mOffset % kDirectAlignment != 0)) goBuffered();
  }
  block.setLength(filled);
  if (mBypassesCache) {
    // Also after direct reads: some file systems quietly serve these through the cache.
    const bool isLast = filled < storage.size();
    dropCachedRange(mHandle.descriptor(), start, isLast ? 0 : static_cast<int64_t>(filled));
  }
  return std::nullopt;
}

std::optional<RVXFileIdentity> RVXStorageReader::identity() const {
  struct stat status {};
  if (::fstat(mHandle.descriptor(), &status) != 0) return std::nullopt;
  return RVXFileIdentity{status.st_dev, status.st_ino};
}

std::span<std::byte> RVXStorageReader::limitedToFile(std::span<std::byte> memory) const {
  if (!mIsDirect) return memory;
  // The kernel clears all the memory that a direct read asks for beyond the end of the file, which for small
  // files is most of the work.
  const int64_t left = mSizeWhenOpened - mOffset;
  const int64_t leftAligned = (left + kDirectAlignment - 1) / kDirectAlignment * kDirectAlignment;
  return memory.first(std::min(memory.size(), static_cast<size_t>(leftAligned)));
}

void RVXStorageReader::goDirectWhereAligned() {
  const bool isBeforeEnd = mOffset < mSizeWhenOpened;
  if (!mMayBeDirect || mIsDirect || !isBeforeEnd || mOffset % kDirectAlignment != 0) return;
  mIsDirect = setDirect(mHandle.descriptor(), true);
  mMayBeDirect = mIsDirect;
}

void RVXStorageReader::goBuffered() {
  setDirect(mHandle.descriptor(), false);
  mIsDirect = false;
}

#include "platform/files/RVXStorageReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "platform/files/RVXCacheBypass.h"
#include "platform/files/RVXTransfer.h"

std::optional<RVXStorageReader> RVXStorageReader::openForReading(const std::string& path) {
  RVXFileHandle handle = RVXFileHandle::openWithoutPeer(path, O_RDONLY);
  const auto attributes = handle.attributes();
  if (!attributes || attributes->type == RVXFileType::fifo) return std::nullopt;
  return RVXStorageReader(std::move(handle), *attributes);
}

void RVXStorageReader::bypassCache() {
  mBypassesCache = mAttributes.isOnStorage();
  mMayBeDirect = isRegularFile();  // only these say where they end
  if (mBypassesCache) dropCachedFile(mHandle.descriptor());
}

void RVXStorageReader::readAhead() {
  adviseSequential(mHandle.descriptor());
}

std::optional<RVXIOFailure> RVXStorageReader::seek(int64_t offset) {
  mOffset = offset;
  if (::lseek(mHandle.descriptor(), offset, SEEK_SET) != offset) return failureFromErrno();
  return std::nullopt;
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
    if (mIsDirect && (mOffset >= mAttributes.size || mOffset % kDirectAlignment != 0)) goBuffered();
  }
  block.setLength(filled);
  if (mBypassesCache) {
    // Also after direct reads: some file systems quietly serve these through the cache.
    const bool isLast = filled < storage.size();
    dropCachedRange(mHandle.descriptor(), start, isLast ? 0 : static_cast<int64_t>(filled));
  }
  return std::nullopt;
}

std::span<std::byte> RVXStorageReader::limitedToFile(std::span<std::byte> memory) const {
  if (!mIsDirect) return memory;
  // The kernel clears all the memory that a direct read asks for beyond the end of the file, which for small
  // files is most of the work.
  const int64_t left = mAttributes.size - mOffset;
  const int64_t leftAligned = (left + kDirectAlignment - 1) / kDirectAlignment * kDirectAlignment;
  return memory.first(std::min(memory.size(), static_cast<size_t>(leftAligned)));
}

void RVXStorageReader::goDirectWhereAligned() {
  const bool isBeforeEnd = mOffset < mAttributes.size;
  if (!mMayBeDirect || mIsDirect || !isBeforeEnd || mOffset % kDirectAlignment != 0) return;
  mIsDirect = setDirect(mHandle.descriptor(), true);
  mMayBeDirect = mIsDirect;
}

void RVXStorageReader::goBuffered() {
  setDirect(mHandle.descriptor(), false);
  mIsDirect = false;
}

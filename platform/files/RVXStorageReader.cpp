#include "platform/files/RVXStorageReader.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>

namespace {
constexpr int64_t kAlignment = RVXFileHandle::kDirectAlignment;
}

RVXOutcome<RVXStorageReader> RVXStorageReader::openForReading(const std::string& path) {
  auto opened = RVXFileHandle::openWithoutPeer(path, O_RDONLY);
  if (opened.failed()) return opened.failure();
  const auto attributes = opened.value().attributes();
  if (attributes.failed()) return attributes.failure();
  if (attributes.value().type == RVXFileType::fifo) return failureFromErrno(ESPIPE);
  return RVXStorageReader(std::move(opened).value(), attributes.value());
}

void RVXStorageReader::bypassCache() {
  mBypassesCache = mAttributes.isOnStorage();
  mMayBeDirect = isRegularFile();  // only these say where they end
  if (mBypassesCache) mHandle.dropCachedFile();
}

void RVXStorageReader::readAhead() {
  mHandle.adviseSequential();
}

RVXOutcome<> RVXStorageReader::seek(int64_t offset) {
  mOffset = offset;
  return mHandle.seek(offset);
}

RVXOutcome<> RVXStorageReader::readUpToCapacity(RVXBlock& block) {
  const std::span<std::byte> storage = block.storage();
  const int64_t start = mOffset;
  size_t filled = 0;
  goDirectWhereAligned();
  while (filled < storage.size()) {
    const auto piece = mHandle.readSome(limitedToFile(storage.subspan(filled)));
    if (piece.failed() && mIsDirect && piece.failure().meansNotSupported()) {
      mMayBeDirect = false;
      goBuffered();
      continue;
    }
    if (piece.failed()) return piece.failure();
    if (piece.value() == 0) break;
    filled += piece.value();
    mOffset += static_cast<int64_t>(piece.value());
    // After the end that the file had, a plain read tells whether it has grown. Before it, a short direct
    // read leaves an offset that is no longer aligned.
    if (mIsDirect && (mOffset >= mAttributes.size || mOffset % kAlignment != 0)) goBuffered();
  }
  block.setLength(filled);
  if (mBypassesCache) {
    // Also after direct reads: some file systems quietly serve these through the cache.
    const bool isLast = filled < storage.size();
    mHandle.dropCachedRange(start, isLast ? 0 : static_cast<int64_t>(filled));
  }
  return {};
}

std::span<std::byte> RVXStorageReader::limitedToFile(std::span<std::byte> memory) const {
  if (!mIsDirect) return memory;
  // The kernel clears all the memory that a direct read asks for beyond the end of the file, which for small
  // files is most of the work.
  const int64_t left = mAttributes.size - mOffset;
  const int64_t leftAligned = (left + kAlignment - 1) / kAlignment * kAlignment;
  return memory.first(std::min(memory.size(), static_cast<size_t>(leftAligned)));
}

void RVXStorageReader::goDirectWhereAligned() {
  const bool isBeforeEnd = mOffset < mAttributes.size;
  if (!mMayBeDirect || mIsDirect || !isBeforeEnd || mOffset % kAlignment != 0) return;
  mIsDirect = mHandle.setDirect(true);
  mMayBeDirect = mIsDirect;
}

void RVXStorageReader::goBuffered() {
  mHandle.setDirect(false);
  mIsDirect = false;
}

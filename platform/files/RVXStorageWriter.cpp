#include "platform/files/RVXStorageWriter.h"

#include <fcntl.h>

RVXOutcome<RVXStorageWriter> RVXStorageWriter::openForWriting(const std::string& path) {
  return openWithFlags(path, O_WRONLY | O_CREAT | O_NOFOLLOW);
}

RVXOutcome<RVXStorageWriter> RVXStorageWriter::createForWriting(const std::string& path) {
  return openWithFlags(path, O_WRONLY | O_CREAT | O_EXCL);
}

RVXOutcome<RVXStorageWriter> RVXStorageWriter::openWithFlags(const std::string& path, int flags) {
  auto opened = RVXFileHandle::openWithoutPeer(path, flags);
  if (opened.failed()) return opened.failure();
  return RVXStorageWriter(std::move(opened).value());
}

void RVXStorageWriter::bypassCache(RVXOutcome<RVXStorageWriter>& opened) {
  if (opened.failed()) return RVXFileHandle::adviseNoReuseOfStandardInput();
  opened.value().bypassCache();
}

void RVXStorageWriter::bypassCache() {
  mHandle.adviseNoReuse();
  const auto found = mHandle.attributes();
  mBypassesCache = found.succeeded() && found.value().isOnStorage();
  mWritesUncached = mBypassesCache;
  mSettlesRanges = mBypassesCache && mHandle.canWriteBackRanges();
}

RVXOutcome<> RVXStorageWriter::write(std::span<const std::byte> bytes) {
  const int64_t start = mWritten;
  if (auto written = mHandle.writeWholeUncached(bytes, mWritesUncached); written.failed()) return written;
  mWritten += static_cast<int64_t>(bytes.size());
  mIsSynced = false;
  if (!mBypassesCache) return {};
  if (!mWritesUncached) mHandle.startWriteBack(start, mWritten - start);
  if (unsettled() <= kMostUnsettled) return {};
  // Where only the whole file can be waited for, that is done once in a while and not for each block.
  return settleUpTo(mSettlesRanges ? mWritten - kMostUnsettled : mWritten);
}

RVXOutcome<> RVXStorageWriter::makeDurable() {
  if (auto synced = sync(); synced.failed()) return synced;
  if (mBypassesCache) mHandle.dropCachedRange(0, 0);
  return {};
}

RVXOutcome<> RVXStorageWriter::settle() {
  return unsettled() > 0 ? settleUpTo(mWritten) : RVXOutcome<>();
}

RVXOutcome<> RVXStorageWriter::settleUpTo(int64_t settled) {
  auto waited = mSettlesRanges ? mHandle.waitForWriteBack(mSettled, settled - mSettled) : sync();
  if (waited.failed()) return waited;
  mHandle.dropCachedRange(mSettled, settled - mSettled);
  mSettled = settled;
  return {};
}

RVXOutcome<> RVXStorageWriter::sync() {
  if (mIsSynced) return {};
  auto synced = mHandle.syncData();
  mIsSynced = synced.succeeded();
  return synced;
}

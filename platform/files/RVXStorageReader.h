#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "platform/files/RVXBlock.h"
#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXOutcome.h"

// A file that is read from its storage, not from the page cache, and leaves no pages there. Used by one
// thread at a time. The caller does not see which way was taken: where the file system refuses direct I/O,
// when it is asked for or at the first transfer, the reads are buffered and their pages are dropped
// afterwards.
class RVXStorageReader {
 public:
  // Opens the file, links followed. A FIFO is refused (ESPIPE): it can't be read twice, and without a writer
  // it looks like an empty file.
  static RVXOutcome<RVXStorageReader> openForReading(const std::string& path);

  // Makes the reads come from the storage: what the cache holds of the file is written back and dropped.
  void bypassCache();

  // Asks the system to read ahead where it reads through the cache.
  void readAhead();

  // The offset in bytes at which the next read begins.
  [[nodiscard]] int64_t currentOffset() const { return mOffset; }
  // Moves it.
  RVXOutcome<> seek(int64_t offset);

  // Fills the block to its capacity unless the file ends first, so a block that is not full is the last.
  // After a failure the block's contents and the offset are unknown.
  RVXOutcome<> readUpToCapacity(RVXBlock& block);

  // Tells whether the open file is the same as that of another path.
  [[nodiscard]] RVXFileIdentity identity() const { return mAttributes.identity; }
  // In bytes, when it was opened.
  [[nodiscard]] int64_t size() const { return mAttributes.size; }
  // When its contents had changed last, as it was opened: seconds since 1970, UTC.
  [[nodiscard]] int64_t modified() const { return mAttributes.modified; }
  [[nodiscard]] bool isRegularFile() const { return mAttributes.type == RVXFileType::regular; }

 private:
  RVXStorageReader(RVXFileHandle handle, const RVXFileAttributes& attributes)
      : mHandle(std::move(handle)), mAttributes(attributes) {}
  [[nodiscard]] std::span<std::byte> limitedToFile(std::span<std::byte> memory) const;
  void goDirectWhereAligned();
  void goBuffered();

  RVXFileHandle mHandle;
  RVXFileAttributes mAttributes;  // when it was opened; direct reads end at this size
  int64_t mOffset = 0;
  bool mBypassesCache = false;
  bool mMayBeDirect = false;
  bool mIsDirect = false;
};

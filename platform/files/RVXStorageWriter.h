#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXOutcome.h"

// A new file that is written to its storage without staying in the page cache. Used by one thread at a time.
// The caller does not see which way was taken.
class RVXStorageWriter {
 public:
  // The most bytes that may be written but not yet taken by the storage. This bounds the memory that a slow
  // destination occupies, keeps progress honest and shows a dying disk early.
  static constexpr int64_t kMostUnsettled = int64_t{16} * 1024 * 1024;

  // Opens the file at `path` for writing and creates it where there is none; what an existing one contains
  // stays. A symbolic link at `path` itself is not opened, so nothing is written through it. Never waits for
  // a reader of a FIFO.
  static RVXOutcome<RVXStorageWriter> openForWriting(const std::string& path);

  // The same for a file that does not exist yet. One that exists is left alone and not opened, even if
  // another process creates it at this very moment.
  static RVXOutcome<RVXStorageWriter> createForWriting(const std::string& path);

  // Keeps what is written to a file that was just opened out of the page cache. Where it could not be opened,
  // the request goes to descriptor 0; there it is only advice and does no harm.
  static void bypassCache(RVXOutcome<RVXStorageWriter>& opened);

  // The attributes of the open file.
  [[nodiscard]] RVXOutcome<RVXFileAttributes> attributes() const { return mHandle.attributes(); }

  // Empties the file. To be called before the first write.
  RVXOutcome<> truncate() { return mHandle.truncate(); }

  // Whether a storage keeps what is written; false where somebody reads it, as from a pipe.
  [[nodiscard]] bool isOnStorage() const { return mBypassesCache; }

  // Whether another program or machine serves the file, which then has it open as well.
  [[nodiscard]] bool isServed() const { return mHandle.isServed(); }

  // Writes all the bytes. Returns when at most kMostUnsettled bytes of the file are not yet with the storage.
  RVXOutcome<> write(std::span<const std::byte> bytes);

  // How many bytes were written, and how many of these the storage may not have taken yet.
  [[nodiscard]] int64_t written() const { return mWritten; }
  [[nodiscard]] int64_t unsettled() const { return mWritten - mSettled; }

  // Waits until the storage has taken all that was written. That alone does not make it survive a power cut.
  // (On file systems where only a sync of the whole file can be waited for, it does.)
  RVXOutcome<> settle();

  // To be called on one of many files of the same file system before they are made durable. It saves most of
  // the time that this takes.
  void prepareManyDurable() { mHandle.prepareManySyncs(); }

  // Hands the whole file to the storage, so that a power cut can't take it. To be called once, after the last
  // write, because a failed write-back is reported only once. It is no failure when the file system has no
  // sync.
  RVXOutcome<> makeDurable();

  // Closes the file; see RVXFileHandle::close().
  RVXOutcome<> close() { return mHandle.close(); }

 private:
  static RVXOutcome<RVXStorageWriter> openWithFlags(const std::string& path, int flags);
  explicit RVXStorageWriter(RVXFileHandle handle) : mHandle(std::move(handle)) {}
  void bypassCache();
  RVXOutcome<> settleUpTo(int64_t settled);
  RVXOutcome<> sync();

  RVXFileHandle mHandle;
  bool mBypassesCache = false;
  bool mWritesUncached = false;  // the kernel keeps the written pages out by itself
  bool mSettlesRanges = false;   // the write-back of a part of the file can be waited for
  int64_t mWritten = 0;          // bytes
  int64_t mSettled = 0;          // of these, how many the storage has taken
  bool mIsSynced = false;        // all of them were synced
};

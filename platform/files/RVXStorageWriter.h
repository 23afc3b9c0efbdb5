#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXOutcome.h"

// A new file that is written to its storage without staying in the page cache. Used by one thread at a time.
// Which way was taken is not visible outside.
class RVXStorageWriter {
 public:
  // The most that may be written and not yet taken by the storage, in bytes: it bounds the memory that a slow
  // destination can bind, keeps progress honest and shows a dying disk early.
  static constexpr int64_t kMostUnsettled = int64_t{16} * 1024 * 1024;

  // Opens the file at `path` for writing, creates it where there is none, and leaves the contents of an
  // existing one alone. Nothing is written through a symbolic link at
  // `path` itself: it is not opened. Never waits for a reader of a FIFO.
  static RVXOutcome<RVXStorageWriter> openForWriting(const std::string& path);

  // The same for a file that is not there yet. Where it is, it is left alone and not opened, also when
  // another process creates it in this very moment.
  static RVXOutcome<RVXStorageWriter> createForWriting(const std::string& path);

  // Keeps what is written to a file that was just opened out of the page cache. Where it could not be opened,
  // the request goes to descriptor 0, and for that reason it is a mere advice.
  static void bypassCache(RVXOutcome<RVXStorageWriter>& opened);

  // The attributes of the open file.
  [[nodiscard]] RVXOutcome<RVXFileAttributes> attributes() const { return mHandle.attributes(); }

  // Empties the file. To be called before the first write.
  RVXOutcome<> truncate() { return mHandle.truncate(); }

  // Whether what is written is kept by a storage, as opposed to one who reads it.
  [[nodiscard]] bool isOnStorage() const { return mBypassesCache; }

  // Writes all the bytes. Returns when at most kMostUnsettled bytes of the file are not yet with the storage.
  RVXOutcome<> write(std::span<const std::byte> bytes);

  // How many bytes were written, and how many of these the storage may not have taken yet.
  [[nodiscard]] int64_t written() const { return mWritten; }
  [[nodiscard]] int64_t unsettled() const { return mWritten - mSettled; }

  // Waits until the storage has taken all that was written. That does not yet make it survive a power cut,
  // except where only a sync of the whole file tells.
  RVXOutcome<> settle();

  // To be called on one of many files of a file system before they are made durable, which saves most of
  // their time.
  void prepareManyDurable() { mHandle.prepareManySyncs(); }

  // Hands the whole file to the storage, so that a power cut can't take it. To be called once, after the last
  // write: a failed write-back is told only once. No failure where the file system has no sync.
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

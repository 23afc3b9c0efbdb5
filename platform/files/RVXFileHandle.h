#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "platform/files/RVXFileAttributes.h"
#include "platform/files/RVXOutcome.h"

// Owns one descriptor and is the only one that knows its number. Used by one thread at a time. Offsets and
// lengths are in bytes. Interrupted calls (EINTR) are repeated, so that no caller ever sees them.
class RVXFileHandle {
 public:
  // Memory, offsets and lengths of direct transfers must be multiples of this: the page size, and the largest
  // logical block of the disks in use.
  static constexpr int64_t kDirectAlignment = 4096;

  RVXFileHandle() = default;  // not open
  RVXFileHandle(RVXFileHandle&& other) noexcept : mDescriptor(std::exchange(other.mDescriptor, -1)) {}
  RVXFileHandle& operator=(RVXFileHandle&& other) noexcept;
  // Only tidies up: call close() where it matters whether closing succeeds.
  ~RVXFileHandle();

  // open(2) with `flags` and O_CLOEXEC, new files with the permissions that the umask leaves.
  static RVXOutcome<RVXFileHandle> open(const std::string& path, int flags);

  // The same without waiting for the other end of a FIFO: one without a reader can't be opened for writing,
  // and one without a writer is at its end at once. Where another process holds a lease on the file, it waits
  // until that is given up.
  static RVXOutcome<RVXFileHandle> openWithoutPeer(const std::string& path, int flags);

  // Closes once, and never again whatever the answer: Linux has freed the number. Closing a handle that is
  // not open is a success.
  RVXOutcome<> close();

  [[nodiscard]] RVXOutcome<RVXFileAttributes> attributes() const;

  // Whether the file is served by another program (FUSE) or machine (a network file system).
  [[nodiscard]] bool isServed() const;

  // Transfers at the current offset. One read(2): up to `bytes.size()` bytes, 0 at the end of the file.
  RVXOutcome<size_t> readSome(std::span<std::byte> bytes);
  // Fills `bytes` unless the file ends first.
  RVXOutcome<size_t> readWhole(std::span<std::byte> bytes);
  // Writes all of `bytes`. The failure is that of the last call, which wrote nothing more: a full disk is
  // reported as such although it first accepted a part.
  RVXOutcome<> writeWhole(std::span<const std::byte> bytes);
  // The same without leaving the pages in the cache after the write (RWF_DONTCACHE), where the kernel and the
  // file system offer this. Where they don't, `offered` is set to false and a plain write is made.
  RVXOutcome<> writeWholeUncached(std::span<const std::byte> bytes, bool& offered);

  RVXOutcome<> seek(int64_t offset);
  // Empties a regular file. It is no failure that a device has no size to change.
  RVXOutcome<> truncate();

  // syncData() hands a file's contents to the storage (fdatasync); syncWholeFile() hands it contents and
  // attributes, and of a folder its names (fsync). It is no failure when the file system has no such sync,
  // but it is one when the file system turned read-only since the file was written.
  RVXOutcome<> syncData();
  RVXOutcome<> syncWholeFile();
  // To be called before the syncs of many files of one file system. Where each sync would write a log of its
  // own (btrfs), this commits everything at once, and the syncs find nothing left to do. They also report
  // what failed here.
  void prepareManySyncs();

  // These requests make transfers go to the storage and leave the page cache as it was. Where a file system
  // refuses one of them, the others still help. A length of 0 means to the end of the file.

  // False where starting and waiting for the write-back of a range does nothing, so that only a sync of the
  // whole file tells whether it was written: on overlayfs, which caches its files under the ones below, and
  // on FUSE.
  [[nodiscard]] bool canWriteBackRanges() const;
  // Starts to write back a range's dirty pages, without waiting.
  void startWriteBack(int64_t offset, int64_t length);
  // Writes back a range's dirty pages and waits until the storage has taken them. This does not make them
  // survive a power cut: a sync does.
  RVXOutcome<> waitForWriteBack(int64_t offset, int64_t length);
  // Drops the clean pages of a range.
  void dropCachedRange(int64_t offset, int64_t length);
  // Writes back what the cache holds of the whole file and drops it, so that the next read comes from the
  // storage. A handle opened for reading will do. A failed write-back is for the writer to report.
  void dropCachedFile();
  // Switches direct I/O on or off; no other process may share the descriptor. False when refused.
  bool setDirect(bool isDirect);
  // Whether reads may come from memory, whatever is asked for: the file lies in memory (tmpfs, ramfs), it is
  // served by another program (FUSE), or its file system refuses both direct I/O and dropping what the page
  // cache holds. May leave direct I/O switched on.
  [[nodiscard]] bool mayBeReadFromMemory();
  // Asks for larger read-ahead of buffered reads.
  void adviseSequential();
  // Tells the system that the data will not be used again.
  void adviseNoReuse();
  // The same for standard input, whatever it is; harmless on any descriptor.
  static void adviseNoReuseOfStandardInput();

 private:
  explicit RVXFileHandle(int descriptor) : mDescriptor(descriptor) {}
  RVXOutcome<size_t> writeSome(std::span<const std::byte> bytes);

  int mDescriptor = -1;
};

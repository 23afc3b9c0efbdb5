#pragma once

#include <cstdint>
#include <optional>

#include "platform/files/RVXIOFailure.h"

// The requests by which reads and writes are made to go to the storage and the page cache is left as it was.
// A file system that refuses one is served as far as it goes, and nothing is printed. Offsets and lengths are
// in bytes; a length of 0 means to the end of the file.

// Memory, offsets and lengths of direct transfers must be multiples of this: the page size, and the largest
// logical block of the disks in use.
inline constexpr int64_t kDirectAlignment = 4096;

// False where starting and waiting for the write-back of a range does nothing, so that only a sync of the
// whole file tells whether it was written: overlayfs, whose files are cached under the ones below, and FUSE,
// whose server is not waited for.
bool canWriteBackRanges(int descriptor);

// Starts to write back a range's dirty pages, without waiting.
void startWriteBack(int descriptor, int64_t offset, int64_t length);

// Writes back a range's dirty pages and waits until the storage has taken them. This does not make them
// survive a power cut: a sync does.
std::optional<RVXIOFailure> waitForWriteBack(int descriptor, int64_t offset, int64_t length);

// Drops the clean pages of a range.
void dropCachedRange(int descriptor, int64_t offset, int64_t length);

// Writes back what the cache holds of the whole file and drops it, so that the next read comes from the
// storage. A descriptor opened for reading will do. A failed write-back is for the writer to report.
void dropCachedFile(int descriptor);

// Switches direct I/O on or off for the descriptor, which no other process may share. False when refused.
bool setDirect(int descriptor, bool isDirect);

// True for the answers of a direct read that mean "not in this way", as opposed to a failure of the storage.
bool refusesDirect(int code);

// Asks for larger read-ahead of buffered reads.
void adviseSequential(int descriptor);

// Tells that the data will not be used again. Harmless on any descriptor.
void adviseNoReuse(int descriptor);

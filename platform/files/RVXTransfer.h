#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "platform/files/RVXIOFailure.h"

// Transfers between memory and a descriptor, at its current offset. Interrupted calls (EINTR) are repeated
// and short ones continued, so that no caller ever sees them.

// How much a read gave, or why it failed.
struct RVXReadResult {
  size_t length = 0;  // bytes
  std::optional<RVXIOFailure> failure;
};

// One read(2): up to `bytes.size()` bytes, 0 at the end of the file.
RVXReadResult readSome(int descriptor, std::span<std::byte> bytes);

// Fills `bytes` unless the file ends first. On a failure, `length` bytes had been read before.
RVXReadResult readWhole(int descriptor, std::span<std::byte> bytes);

// Writes all of `bytes`. The failure is that of the call that wrote nothing more, so a full disk is reported
// as such although it first accepted a part.
std::optional<RVXIOFailure> writeWhole(int descriptor, std::span<const std::byte> bytes);

// The same with the page cache left clean behind the write (RWF_DONTCACHE), where the kernel and the file
// system offer it; `offered` is set to false, and a plain write made, where they don't.
std::optional<RVXIOFailure> writeWholeUncached(int descriptor, std::span<const std::byte> bytes,
                                               bool& offered);

// Hands a file's contents to the storage (fdatasync), or contents, attributes and, of a folder, its names
// (fsync). A file system that has no such sync is no failure; one that turned read-only since the file was
// written is.
std::optional<RVXIOFailure> syncData(int descriptor);
std::optional<RVXIOFailure> syncWholeFile(int descriptor);

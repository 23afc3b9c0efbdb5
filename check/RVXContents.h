#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "include/DigestKind.h"
#include "platform/files/RVXFileAttributes.h"

// What one pass over a file's contents gave.
struct RVXContents {
  // Why they can't be read, with the offset where there is one: "Input/output error at 4194304".
  std::optional<std::string> error;
  bool isRegularFile = true;                  // else nothing was read
  int64_t length = 0;                         // bytes read
  RVXFileIdentity identity;                   // of the file that was opened
  int64_t modified = 0;                       // when it was: seconds since 1970, UTC
  std::map<DigestKind, std::string> digests;  // bytes

  static constexpr size_t kChunkSize = size_t{4} * 1024 * 1024;  // bytes; two chunks are in memory

  // Reads the file, links followed, past the page cache, and computes all the digests, of one chunk while the
  // next is read. A block that can't be read is tried once more after the file was opened again. `bytesRead`
  // grows as it goes on. Several threads may do so for several files.
  static RVXContents read(const std::string& path, const std::set<DigestKind>& kinds,
                          std::atomic<int64_t>& bytesRead);
};

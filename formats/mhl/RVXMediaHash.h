#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "include/DigestKind.h"

// An entry of a media hash list: what it says of one file, or a folder that has to be there.
struct RVXMediaHash {
  struct Digest {
    DigestKind kind = DigestKind::XXH64;
    std::string bytes;          // as they are listed
    bool isInAnyOrder = false;  // the file's digest may also be these bytes in the opposite order
  };

  uint32_t line = 0;
  std::string path;  // never empty, relative to what the list's names are relative to
  // MHL 1.x, and the path has a "\" and no "/": as it may be written on Windows.
  bool mayHaveBackslashes = false;
  std::string previousPath;  // what older generations call it; empty: the same
  bool isFolder = false;
  std::optional<int64_t> size;  // bytes
  std::vector<Digest> digests;  // without those of a wrong form or of a failed check
};

#pragma once

#include <sys/stat.h>

#include <compare>
#include <cstdint>

enum class RVXFileType { regular, folder, symbolicLink, fifo, other };

// What makes two paths name one and the same file.
struct RVXFileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  auto operator<=>(const RVXFileIdentity&) const = default;
};

struct RVXFileAttributes {
  RVXFileType type = RVXFileType::other;
  int64_t size = 0;  // bytes
  RVXFileIdentity identity;
};

// From what stat(2) and its relatives give.
RVXFileAttributes attributesFromStatus(const struct stat& status);

#pragma once

#include <sys/stat.h>

#include <compare>
#include <cstdint>

enum class RVXFileType { regular, folder, symbolicLink, fifo, blockDevice, other };

// By the type bits of st_mode.
RVXFileType fileTypeOf(mode_t mode);

// Tells whether two paths name the same file: their identities are then equal. A block device may have any
// number of nodes; its identity is that of the device.
struct RVXFileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  auto operator<=>(const RVXFileIdentity&) const = default;
};

struct RVXFileAttributes {
  RVXFileType type = RVXFileType::other;
  int64_t size = 0;  // bytes
  RVXFileIdentity identity;
  int64_t modified = 0;  // seconds since 1970, UTC

  // From what stat(2) and its relatives give.
  static RVXFileAttributes of(const struct stat& status);

  // True where the contents lie on a storage, or will, and the page cache only has a copy of them.
  [[nodiscard]] bool isOnStorage() const {
    return type == RVXFileType::regular || type == RVXFileType::blockDevice;
  }
};

#pragma once

#include <string>
#include <vector>

// Where the bytes of files lie: the mounted file system, and what is below it.
struct RVXVolume {
  std::string mountPoint;

  // What would take the bytes with it if it broke; volumes that have one in common share a disk. A partition
  // is its disk; device-mapper and md devices are the disks they are made of, btrfs all of its devices; a
  // loop device is a disk; a network file system is its server; a FUSE file system without a block device is
  // one of its own. Empty for what lies in memory and for all else that has neither device nor server.
  std::vector<std::string> disks;

  // Whether one of these disks has to move its heads.
  bool isRotational = false;

  // The volume on which the item at `path` lies, a final link not followed. Without a mount point where that
  // can't be found out.
  static RVXVolume ofItem(const std::string& path);
};

// Whether reads of the file at `path` may come from memory, as RVXFileHandle says. False also where it can't
// be opened.
bool mayBeReadFromMemory(const std::string& path);

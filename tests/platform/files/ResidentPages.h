#pragma once

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

// True for folders on file systems whose page cache can be looked at and emptied.
inline bool hasObservableCache(const std::string& folder) {
  struct statfs fileSystem {};
  if (::statfs(folder.c_str(), &fileSystem) != 0) return false;
  return fileSystem.f_type == EXT4_SUPER_MAGIC || fileSystem.f_type == XFS_SUPER_MAGIC;
}

// The number of pages of a file that the cache holds.
inline size_t residentPages(const std::string& path) {
  constexpr size_t kPage = 4096;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const auto size = static_cast<size_t>(::lseek(descriptor, 0, SEEK_END));
  void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
  std::vector<unsigned char> pages((size + kPage - 1) / kPage);
  ::mincore(memory, size, pages.data());
  ::munmap(memory, size);
  ::close(descriptor);
  return static_cast<size_t>(
      std::count_if(pages.begin(), pages.end(), [](unsigned char page) { return (page & 1U) != 0; }));
}

#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "tests/support/Files.h"

// A file without a folder, that goes with the object, however the process ends. It can be opened by its path.
class MemoryFile {
 public:
  MemoryFile() = default;
  explicit MemoryFile(std::string_view bytes) { ::write(mDescriptor, bytes.data(), bytes.size()); }
  ~MemoryFile() { ::close(mDescriptor); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(mDescriptor); }
  [[nodiscard]] std::string bytes() const { return readFile(path()); }

 private:
  int mDescriptor = ::memfd_create("file", MFD_CLOEXEC);
};

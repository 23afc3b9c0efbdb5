#pragma once

#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// A fresh folder that goes with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() : TemporaryFolder(std::filesystem::temp_directory_path().string()) {}
  explicit TemporaryFolder(const std::string& parent) : mPath(parent + "/rvxcopy-test-XXXXXX") {
    if (::mkdtemp(mPath.data()) == nullptr) throw std::filesystem::filesystem_error(mPath, {});
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::string& path() const { return mPath; }
  // The path of an entry.
  [[nodiscard]] std::string path(const std::string& name) const { return mPath + "/" + name; }
  // Makes a folder in it and returns its path.
  std::string folder(const std::string& name) const {
    std::filesystem::create_directories(path(name));
    return path(name);
  }

 private:
  std::string mPath;
};

// One folder on a disk (mostly) and one in memory: file systems that answer differently to direct transfers.
inline std::vector<std::string> parentsOfTestFolders() {
  return {std::filesystem::temp_directory_path().string(), "/dev/shm"};
}

// Bytes in which no block of a file is like another.
inline std::string patternBytes(size_t size, uint64_t seed = 1) {
  std::string bytes(size + sizeof(uint64_t), '\0');
  uint64_t state = seed * 0x9E3779B97F4A7C15U + 1;
  for (size_t i = 0; i < size; i += sizeof state) {
    state ^= state << 13U;
    state ^= state >> 7U;
    state ^= state << 17U;
    std::memcpy(bytes.data() + i, &state, sizeof state);
  }
  bytes.resize(size);
  return bytes;
}

// Writes a file and returns its path.
inline std::string writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

// The rest of an open file.
inline std::string readRest(FILE* file) {
  std::string bytes;
  std::array<char, 65536> piece;
  while (const size_t length = std::fread(piece.data(), 1, piece.size(), file)) {
    bytes.append(piece.data(), length);
  }
  return bytes;
}

inline std::string readFile(const std::string& path) {
  FILE* const file = std::fopen(path.c_str(), "rbe");
  if (file == nullptr) return "(can't be opened: " + path + ")";
  const std::string bytes = readRest(file);
  std::fclose(file);
  return bytes;
}

inline bool exists(const std::string& path) {
  return std::filesystem::exists(std::filesystem::symlink_status(path));
}

// The number of entries of a folder, hidden ones included.
inline size_t entryCount(const std::string& folder) {
  const std::filesystem::directory_iterator entries(folder);
  return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

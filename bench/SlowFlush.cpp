// A library for LD_PRELOAD that gives every disk the flush of a slow one, where the machine's own cost
// nothing:
//
//   RVX_SLOW_FLUSH_MS   how long a disk takes for it; 0 to only count
//   RVX_SLOW_FLUSH_LOG  gets a line "MAJOR:MINOR" for each such flush; must lie on none of these disks
//
// Only a flush that finds something to do is slow: one of a disk that was written to since its last flush. A
// disk does one flush after the other; several disks do theirs side by side. Disks are the block devices
// below the files; where a file system hides them (btrfs, a network), none is slow. sync() stays as it is,
// for it names no disk.

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace {

struct Disk {
  std::mutex isFlushing;
  long sectorsFlushed = 0;
};

Disk& diskNumbered(dev_t number) {
  static auto* const lock = new std::mutex;  // neither is destroyed: threads flush until the process ends
  static auto* const disks = new std::map<dev_t, Disk>;
  const std::lock_guard<std::mutex> guard(*lock);
  return (*disks)[number];
}

// 0 where there is no such block device.
long sectorsWritten(const std::string& disk) {
  std::ifstream file("/sys/dev/block/" + disk + "/stat");
  long value = 0;
  for (int field = 1; field <= 7; ++field) file >> value;
  return file ? value : 0;
}

void log(const std::string& disk) {
  const char* const path = std::getenv("RVX_SLOW_FLUSH_LOG");
  if (path != nullptr) std::ofstream(path, std::ios::app) << disk + "\n";
}

std::chrono::milliseconds timeOfAFlush() {
  const char* const text = std::getenv("RVX_SLOW_FLUSH_MS");
  return std::chrono::milliseconds(text == nullptr ? 0 : std::atoi(text));
}

void flushDisk(dev_t number) {
  Disk& disk = diskNumbered(number);
  const std::lock_guard<std::mutex> guard(disk.isFlushing);
  const std::string name = std::to_string(major(number)) + ":" + std::to_string(minor(number));
  const long written = sectorsWritten(name);
  if (written == disk.sectorsFlushed) return;
  disk.sectorsFlushed = written;
  log(name);
  std::this_thread::sleep_for(timeOfAFlush());
}

int flushSlowly(const char* call, int descriptor) {
  const auto real = reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, call));
  const int result = real(descriptor);
  struct stat found;
  if (result == 0 && ::fstat(descriptor, &found) == 0) flushDisk(found.st_dev);
  return result;
}

}  // namespace

extern "C" {

int fsync(int descriptor) {
  return flushSlowly("fsync", descriptor);
}

int fdatasync(int descriptor) {
  return flushSlowly("fdatasync", descriptor);
}

int syncfs(int descriptor) noexcept {
  return flushSlowly("syncfs", descriptor);
}

}  // extern "C"

// A FUSE file system that shows a folder of the machine again, for tests:
//
//   rvx_fault_fs FOLDER MOUNTPOINT [OPTION ...]
//
//   direct_io         the kernel does not cache
//   writeback_cache   the kernel collects writes
//   write_delay=MS    each write takes so long
//   refused=TEXT      a write of bytes in which TEXT stands fails with EIO
//   taken=FILE        the number of bytes written so far is kept in FILE, as text
//
// It stays in the foreground and ends when it is unmounted.

#define FUSE_USE_VERSION 35
#include <dirent.h>
#include <fcntl.h>
#include <fuse.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

namespace {

std::string folder;
bool isDirect = false;
bool collectsWrites = false;
std::chrono::milliseconds writeDelay{0};
std::string refusedText;
std::string takenFile;
std::atomic<long long> bytesTaken{0};

std::string below(const char* path) {
  return folder + path;
}
int answer(long result) {
  return result < 0 ? -errno : static_cast<int>(result);
}
int handleOf(const fuse_file_info* info) {
  return static_cast<int>(info->fh);
}

void* start(fuse_conn_info* connection, fuse_config* configuration) {
  configuration->use_ino = 1;
  connection->max_write = 128 * 1024;  // so that a delay for each means a known speed
  if (collectsWrites) connection->want |= FUSE_CAP_WRITEBACK_CACHE;
  return nullptr;
}

int getAttributes(const char* path, struct stat* status, fuse_file_info* /*info*/) {
  return answer(::lstat(below(path).c_str(), status));
}

int readLink(const char* path, char* target, size_t size) {
  const ssize_t length = ::readlink(below(path).c_str(), target, size - 1);
  if (length < 0) return -errno;
  target[length] = '\0';
  return 0;
}

int makeFolder(const char* path, mode_t mode) {
  return answer(::mkdir(below(path).c_str(), mode));
}
int removeFile(const char* path) {
  return answer(::unlink(below(path).c_str()));
}
int removeFolder(const char* path) {
  return answer(::rmdir(below(path).c_str()));
}
int makeLink(const char* target, const char* path) {
  return answer(::symlink(target, below(path).c_str()));
}
int rename(const char* from, const char* to, unsigned /*flags*/) {
  return answer(::rename(below(from).c_str(), below(to).c_str()));
}
int truncate(const char* path, off_t size, fuse_file_info* /*info*/) {
  return answer(::truncate(below(path).c_str(), size));
}

// With collected writes the kernel keeps the times, and hands them down later.
int setTimes(const char* path, const timespec times[2], fuse_file_info* /*info*/) {
  return answer(::utimensat(AT_FDCWD, below(path).c_str(), times, AT_SYMLINK_NOFOLLOW));
}

int openWith(const char* path, int flags, mode_t mode, fuse_file_info* info) {
  const int handle = ::open(below(path).c_str(), flags & ~O_DIRECT, mode);
  if (handle < 0) return -errno;
  info->fh = static_cast<uint64_t>(handle);
  info->direct_io = isDirect ? 1 : 0;
  return 0;
}

// With collected writes the kernel also reads files that were opened for writing.
int openFile(const char* path, fuse_file_info* info) {
  int flags = info->flags;
  if (collectsWrites && (flags & O_ACCMODE) == O_WRONLY) flags = (flags & ~O_ACCMODE) | O_RDWR;
  return openWith(path, flags, 0, info);
}
int createFile(const char* path, mode_t mode, fuse_file_info* info) {
  return openWith(path, O_RDWR | O_CREAT | O_TRUNC, mode, info);
}
int closeFile(const char* /*path*/, fuse_file_info* info) {
  return answer(::close(handleOf(info)));
}

int readFile(const char* /*path*/, char* bytes, size_t size, off_t offset, fuse_file_info* info) {
  return answer(::pread(handleOf(info), bytes, size, offset));
}

void countTaken(long long count) {
  if (takenFile.empty()) return;
  const std::string text = std::to_string(bytesTaken += count) + "\n";
  const int handle = ::open(takenFile.c_str(), O_WRONLY | O_CREAT, 0666);
  if (handle < 0) return;
  (void)!::pwrite(handle, text.data(), text.size(), 0);
  ::close(handle);
}

int writeFile(const char* /*path*/, const char* bytes, size_t size, off_t offset, fuse_file_info* info) {
  std::this_thread::sleep_for(writeDelay);
  const bool isRefused =
      !refusedText.empty() && std::string_view(bytes, size).find(refusedText) != std::string_view::npos;
  if (isRefused) return -EIO;
  const int written = answer(::pwrite(handleOf(info), bytes, size, offset));
  if (written > 0) countTaken(written);
  return written;
}

int syncFile(const char* /*path*/, int isDataOnly, fuse_file_info* info) {
  return answer(isDataOnly != 0 ? ::fdatasync(handleOf(info)) : ::fsync(handleOf(info)));
}

int listFolder(const char* path, void* buffer, fuse_fill_dir_t fill, off_t /*offset*/,
               fuse_file_info* /*info*/, fuse_readdir_flags /*flags*/) {
  DIR* const opened = ::opendir(below(path).c_str());
  if (opened == nullptr) return -errno;
  while (const dirent* entry = ::readdir(opened)) {
    fill(buffer, entry->d_name, nullptr, 0, static_cast<fuse_fill_dir_flags>(0));
  }
  ::closedir(opened);
  return 0;
}

void takeOption(std::string_view option) {
  constexpr std::string_view kDelay = "write_delay=";
  constexpr std::string_view kRefused = "refused=";
  constexpr std::string_view kTaken = "taken=";
  if (option == "direct_io") isDirect = true;
  if (option == "writeback_cache") collectsWrites = true;
  if (option.starts_with(kDelay)) {
    writeDelay = std::chrono::milliseconds(std::stoi(std::string(option.substr(kDelay.size()))));
  }
  if (option.starts_with(kRefused)) refusedText = option.substr(kRefused.size());
  if (option.starts_with(kTaken)) takenFile = option.substr(kTaken.size());
}

}  // namespace

int main(int argumentCount, char* arguments[]) {
  if (argumentCount < 3) {
    std::fprintf(stderr, "usage: %s FOLDER MOUNTPOINT [OPTION ...]\n", arguments[0]);
    return 2;
  }
  folder = arguments[1];
  for (int i = 3; i < argumentCount; ++i) takeOption(arguments[i]);

  fuse_operations operations{};
  operations.init = start;
  operations.getattr = getAttributes;
  operations.readlink = readLink;
  operations.mkdir = makeFolder;
  operations.unlink = removeFile;
  operations.rmdir = removeFolder;
  operations.symlink = makeLink;
  operations.rename = rename;
  operations.truncate = truncate;
  operations.utimens = setTimes;
  operations.open = openFile;
  operations.create = createFile;
  operations.release = closeFile;
  operations.read = readFile;
  operations.write = writeFile;
  operations.fsync = syncFile;
  operations.readdir = listFolder;

  char foreground[] = "-f";
  char oneThread[] = "-s";
  char* fuseArguments[] = {arguments[0], foreground, oneThread, arguments[2], nullptr};
  return fuse_main(4, fuseArguments, &operations, nullptr);
}

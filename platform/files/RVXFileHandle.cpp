#include "platform/files/RVXFileHandle.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace {

constexpr mode_t kNewFilePermissions = 0666;  // less the umask

// Newer than the C library's headers; the numbers are the kernel's (linux/fs.h, linux/magic.h).
constexpr int kWriteUncached = 0x00000080;  // RWF_DONTCACHE
constexpr auto kFUSE = 0x65735546;          // FUSE_SUPER_MAGIC
constexpr off_t kCurrentOffset = -1;

// Calls until the answer is not EINTR.
template <typename Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// The number of bytes that `call`, which answers as read(2) and write(2) do, has moved.
template <typename Call>
RVXOutcome<size_t> transfer(Call call) {
  const ssize_t length = uninterrupted(call);
  if (length < 0) return failureFromErrno(errno);
  return static_cast<size_t>(length);
}

// Writes all of `bytes` by `writeSome`, which is given what is left.
template <typename WriteSome>
RVXOutcome<> writeAll(std::span<const std::byte> bytes, WriteSome writeSome) {
  while (!bytes.empty()) {
    const auto piece = writeSome(bytes);
    if (piece.failed()) return piece.failure();
    // A device that takes nothing and names no error is full; going on would never end.
    if (piece.value() == 0) return failureFromErrno(ENOSPC);
    bytes = bytes.subspan(piece.value());
  }
  return {};
}

// A file system that broke while it was written to turns itself read-only. A sync then fails in the same way
// as on a medium that was read-only all along. Setting the permissions that the file already has tells the
// two apart.
bool hasTurnedReadOnly(int descriptor) {
  constexpr mode_t kPermissions = 07777;
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return true;
  return ::fchmod(descriptor, status.st_mode & kPermissions) != 0 && errno == EROFS;
}

RVXOutcome<> sync(int (*call)(int), int descriptor) {
  if (uninterrupted([&] { return call(descriptor); }) == 0) return {};
  const RVXIOFailure failure = failureFromErrno(errno);
  if (failure.meansNotSupported()) return {};
  if (failure.code == EROFS && !hasTurnedReadOnly(descriptor)) return {};
  return failure;
}

constexpr decltype(statfs::f_type) kUnknownType = 0;

decltype(statfs::f_type) fileSystemType(int descriptor) {
  struct statfs fileSystem {};
  return ::fstatfs(descriptor, &fileSystem) == 0 ? fileSystem.f_type : kUnknownType;
}

}  // namespace

RVXFileHandle& RVXFileHandle::operator=(RVXFileHandle&& other) noexcept {
  std::swap(mDescriptor, other.mDescriptor);
  return *this;
}

RVXFileHandle::~RVXFileHandle() {
  [[maybe_unused]] const auto ignored = close();
}

RVXOutcome<RVXFileHandle> RVXFileHandle::open(const std::string& path, int flags) {
  const int descriptor =
      uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, kNewFilePermissions); });
  if (descriptor < 0) return failureFromErrno(errno);
  return RVXFileHandle(descriptor);
}

RVXOutcome<RVXFileHandle> RVXFileHandle::openWithoutPeer(const std::string& path, int flags) {
  auto opened = open(path, flags | O_NONBLOCK);
  if (opened.failed() && opened.failure().code == EAGAIN) return open(path, flags);
  // Only the opening must not wait: a read still waits for what a terminal doesn't have yet.
  if (opened.succeeded()) ::fcntl(opened.value().mDescriptor, F_SETFL, flags);
  return opened;
}

RVXOutcome<> RVXFileHandle::close() {
  if (mDescriptor < 0) return {};
  // EINTR means that the descriptor is gone and only the wait was cut short; what had to be safe was synced
  // before.
  if (::close(std::exchange(mDescriptor, -1)) != 0 && errno != EINTR) return failureFromErrno(errno);
  return {};
}

RVXOutcome<RVXFileAttributes> RVXFileHandle::attributes() const {
  struct stat status {};
  if (::fstat(mDescriptor, &status) != 0) return failureFromErrno(errno);
  return RVXFileAttributes::of(status);
}

bool RVXFileHandle::isServed() const {
  static constexpr auto kTypes =
      std::to_array<decltype(statfs::f_type)>({kFUSE, NFS_SUPER_MAGIC, CIFS_SUPER_MAGIC, SMB2_SUPER_MAGIC,
                                               CEPH_SUPER_MAGIC, V9FS_MAGIC, AFS_SUPER_MAGIC, AFS_FS_MAGIC});
  return std::ranges::find(kTypes, fileSystemType(mDescriptor)) != kTypes.end();
}

RVXOutcome<size_t> RVXFileHandle::readSome(std::span<std::byte> bytes) {
  return transfer([&] { return ::read(mDescriptor, bytes.data(), bytes.size()); });
}

RVXOutcome<size_t> RVXFileHandle::readWhole(std::span<std::byte> bytes) {
  size_t filled = 0;
  while (filled < bytes.size()) {
    auto piece = readSome(bytes.subspan(filled));
    if (piece.failed()) return piece;
    if (piece.value() == 0) break;
    filled += piece.value();
  }
  return filled;
}

RVXOutcome<size_t> RVXFileHandle::writeSome(std::span<const std::byte> bytes) {
  return transfer([&] { return ::write(mDescriptor, bytes.data(), bytes.size()); });
}

RVXOutcome<> RVXFileHandle::writeWhole(std::span<const std::byte> bytes) {
  return writeAll(bytes, [&](auto rest) { return writeSome(rest); });
}

RVXOutcome<> RVXFileHandle::writeWholeUncached(std::span<const std::byte> bytes, bool& offered) {
  return writeAll(bytes, [&](auto rest) {
    if (!offered) return writeSome(rest);
    const iovec piece{const_cast<std::byte*>(rest.data()), rest.size()};
    auto written =
        transfer([&] { return ::pwritev2(mDescriptor, &piece, 1, kCurrentOffset, kWriteUncached); });
    if (written.succeeded() || !written.failure().meansNotSupported()) return written;
    offered = false;
    return writeSome(rest);
  });
}

RVXOutcome<> RVXFileHandle::seek(int64_t offset) {
  if (::lseek(mDescriptor, offset, SEEK_SET) != offset) return failureFromErrno(errno);
  return {};
}

RVXOutcome<> RVXFileHandle::truncate() {
  const auto found = attributes();
  if (found.failed()) return found.failure();
  if (found.value().type == RVXFileType::regular && ::ftruncate(mDescriptor, 0) != 0)
    return failureFromErrno(errno);
  return {};
}

RVXOutcome<> RVXFileHandle::syncData() {
  return sync(::fdatasync, mDescriptor);
}

RVXOutcome<> RVXFileHandle::syncWholeFile() {
  return sync(::fsync, mDescriptor);
}

void RVXFileHandle::prepareManySyncs() {
  if (fileSystemType(mDescriptor) == BTRFS_SUPER_MAGIC) ::syncfs(mDescriptor);
}

bool RVXFileHandle::canWriteBackRanges() const {
  const auto type = fileSystemType(mDescriptor);
  return type != kUnknownType && type != OVERLAYFS_SUPER_MAGIC && type != kFUSE;
}

void RVXFileHandle::startWriteBack(int64_t offset, int64_t length) {
  ::sync_file_range(mDescriptor, offset, length, SYNC_FILE_RANGE_WRITE);
}

RVXOutcome<> RVXFileHandle::waitForWriteBack(int64_t offset, int64_t length) {
  constexpr unsigned kWriteAndWait =
      SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER;
  if (uninterrupted([&] { return ::sync_file_range(mDescriptor, offset, length, kWriteAndWait); }) == 0)
    return {};
  const RVXIOFailure failure = failureFromErrno(errno);
  // Devices and read-only media have no dirty pages; if it was a failure, the sync at the end reports it.
  if (failure.code == ESPIPE || failure.code == EROFS || failure.meansNotSupported()) return {};
  return failure;
}

void RVXFileHandle::dropCachedRange(int64_t offset, int64_t length) {
  ::posix_fadvise(mDescriptor, offset, length, POSIX_FADV_DONTNEED);
}

void RVXFileHandle::dropCachedFile() {
  // Where ranges can be written back, that is cheaper for every file that is read than a sync, which also
  // makes the device flush its own cache.
  [[maybe_unused]] const auto ignored = canWriteBackRanges() ? waitForWriteBack(0, 0) : syncData();
  dropCachedRange(0, 0);
}

bool RVXFileHandle::setDirect(bool isDirect) {
  const int flags = ::fcntl(mDescriptor, F_GETFL);
  if (flags < 0) return false;
  return ::fcntl(mDescriptor, F_SETFL, isDirect ? flags | O_DIRECT : flags & ~O_DIRECT) == 0;
}

bool RVXFileHandle::mayBeReadFromMemory() {
  static constexpr auto kTypes = std::to_array<decltype(statfs::f_type)>(
      {TMPFS_MAGIC, RAMFS_MAGIC, static_cast<decltype(statfs::f_type)>(HUGETLBFS_MAGIC), kFUSE});
  const auto type = fileSystemType(mDescriptor);
  if (type == kUnknownType) return false;
  if (std::ranges::find(kTypes, type) != kTypes.end()) return true;
  return !setDirect(true) && ::posix_fadvise(mDescriptor, 0, 0, POSIX_FADV_DONTNEED) != 0;
}

void RVXFileHandle::adviseSequential() {
  ::posix_fadvise(mDescriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
}

void RVXFileHandle::adviseNoReuse() {
  ::posix_fadvise(mDescriptor, 0, 0, POSIX_FADV_NOREUSE);
}

void RVXFileHandle::adviseNoReuseOfStandardInput() {
  ::posix_fadvise(STDIN_FILENO, 0, 0, POSIX_FADV_NOREUSE);
}

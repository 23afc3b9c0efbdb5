#include "platform/files/RVXCacheBypass.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <cerrno>

#include "platform/files/RVXTransfer.h"

namespace {
constexpr auto kFUSE = 0x65735546;  // FUSE_SUPER_MAGIC, which older headers don't have
}

bool canWriteBackRanges(int descriptor) {
  struct statfs fileSystem {};
  return ::fstatfs(descriptor, &fileSystem) == 0 && fileSystem.f_type != OVERLAYFS_SUPER_MAGIC &&
         fileSystem.f_type != kFUSE;
}

void startWriteBack(int descriptor, int64_t offset, int64_t length) {
  ::sync_file_range(descriptor, offset, length, SYNC_FILE_RANGE_WRITE);
}

std::optional<RVXIOFailure> waitForWriteBack(int descriptor, int64_t offset, int64_t length) {
  constexpr unsigned kWriteAndWait =
      SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER;
  while (::sync_file_range(descriptor, offset, length, kWriteAndWait) != 0) {
    // Devices have no dirty pages, read-only media neither; the sync at the end tells if it was a failure.
    if (errno == ESPIPE || errno == EROFS || meansNotSupported(errno)) return std::nullopt;
    if (errno != EINTR) return failureFromErrno();
  }
  return std::nullopt;
}

void dropCachedRange(int descriptor, int64_t offset, int64_t length) {
  ::posix_fadvise(descriptor, offset, length, POSIX_FADV_DONTNEED);
}

void dropCachedFile(int descriptor) {
  if (canWriteBackRanges(descriptor)) {
    // Cheaper than a sync, which also has the device flush its own cache, for every file that is read.
    waitForWriteBack(descriptor, 0, 0);
  } else {
    syncData(descriptor);
  }
  dropCachedRange(descriptor, 0, 0);
}

bool setDirect(int descriptor, bool isDirect) {
  const int flags = ::fcntl(descriptor, F_GETFL);
  if (flags < 0) return false;
  return ::fcntl(descriptor, F_SETFL, isDirect ? flags | O_DIRECT : flags & ~O_DIRECT) == 0;
}

bool refusesDirect(int code) {
  return meansNotSupported(code);
}

void adviseSequential(int descriptor) {
  ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
}

void adviseNoReuse(int descriptor) {
  ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_NOREUSE);
}

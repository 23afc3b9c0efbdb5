#include "platform/files/RVXTransfer.h"

#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>

namespace {

// Newer than the C library's headers; the number is the kernel's (linux/fs.h).
constexpr int kWriteUncached = 0x00000080;  // RWF_DONTCACHE
constexpr off_t kCurrentOffset = -1;

// Calls until the answer is not EINTR.
template <typename Call>
ssize_t uninterrupted(Call call) {
  ssize_t result = 0;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return result;
}

// Writes all of `bytes` by `write`, which is given what is left and answers as write(2) does.
template <typename Write>
std::optional<RVXIOFailure> writeAll(std::span<const std::byte> bytes, Write write) {
  while (!bytes.empty()) {
    const ssize_t written = uninterrupted([&] { return write(bytes); });
    if (written < 0) return failureFromErrno();
    // A device that takes nothing and names no error is full; going on would never end.
    if (written == 0) return failureFromErrno(ENOSPC);
    bytes = bytes.subspan(static_cast<size_t>(written));
  }
  return std::nullopt;
}

// A file system that broke while it was written to turns itself read-only, and a sync then fails in the same
// way as one on a medium that never needed any. To set the permissions that are there already tells the two
// apart.
bool hasTurnedReadOnly(int descriptor) {
  constexpr mode_t kPermissions = 07777;
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return true;
  return ::fchmod(descriptor, status.st_mode & kPermissions) != 0 && errno == EROFS;
}

std::optional<RVXIOFailure> sync(int (*call)(int), int descriptor) {
  if (uninterrupted([&] { return call(descriptor); }) == 0 || meansNotSupported(errno)) return std::nullopt;
  const RVXIOFailure failure = failureFromErrno();
  if (failure.code == EROFS && !hasTurnedReadOnly(descriptor)) return std::nullopt;
  return failure;
}

}  // namespace

RVXReadResult readSome(int descriptor, std::span<std::byte> bytes) {
  const ssize_t length = uninterrupted([&] { return ::read(descriptor, bytes.data(), bytes.size()); });
  if (length < 0) return {0, failureFromErrno()};
  return {static_cast<size_t>(length), std::nullopt};
}

RVXReadResult readWhole(int descriptor, std::span<std::byte> bytes) {
  size_t filled = 0;
  while (filled < bytes.size()) {
    const RVXReadResult piece = readSome(descriptor, bytes.subspan(filled));
    if (piece.failure) return {filled, piece.failure};
    if (piece.length == 0) break;
    filled += piece.length;
  }
  return {filled, std::nullopt};
}

std::optional<RVXIOFailure> writeWhole(int descriptor, std::span<const std::byte> bytes) {
  return writeAll(bytes, [&](auto rest) { return ::write(descriptor, rest.data(), rest.size()); });
}

std::optional<RVXIOFailure> writeWholeUncached(int descriptor, std::span<const std::byte> bytes,
                                               bool& offered) {
  return writeAll(bytes, [&](auto rest) -> ssize_t {
    if (offered) {
      const iovec piece{const_cast<std::byte*>(rest.data()), rest.size()};
      const ssize_t written = ::pwritev2(descriptor, &piece, 1, kCurrentOffset, kWriteUncached);
      if (written >= 0 || !meansNotSupported(errno)) return written;
      offered = false;
    }
    return ::write(descriptor, rest.data(), rest.size());
  });
}

std::optional<RVXIOFailure> syncData(int descriptor) {
  return sync(::fdatasync, descriptor);
}

std::optional<RVXIOFailure> syncWholeFile(int descriptor) {
  return sync(::fsync, descriptor);
}

#include "platform/files/RVXFileHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {
constexpr mode_t kNewFilePermissions = 0666;  // less the umask
}

RVXFileHandle& RVXFileHandle::operator=(RVXFileHandle&& other) noexcept {
  if (this != &other) {
    close();
    mDescriptor = std::exchange(other.mDescriptor, -1);
  }
  return *this;
}

RVXFileHandle::~RVXFileHandle() {
  close();
}

RVXFileHandle RVXFileHandle::open(const std::string& path, int flags) {
  int descriptor = -1;
  do {
    descriptor = ::open(path.c_str(), flags | O_CLOEXEC, kNewFilePermissions);
  } while (descriptor < 0 && errno == EINTR);
  return RVXFileHandle(descriptor);
}

RVXFileHandle RVXFileHandle::openWithoutPeer(const std::string& path, int flags) {
  RVXFileHandle handle = open(path, flags | O_NONBLOCK);
  if (handle.isOpen()) {
    // Only the opening is not to wait: a read waits for what a terminal has not got yet.
    ::fcntl(handle.descriptor(), F_SETFL, flags);
  } else if (errno == EAGAIN) {
    handle = open(path, flags);
  }
  return handle;
}

std::optional<RVXFileAttributes> RVXFileHandle::attributes() const {
  struct stat status {};
  if (::fstat(mDescriptor, &status) != 0) return std::nullopt;
  return attributesFromStatus(status);
}

std::optional<RVXIOFailure> RVXFileHandle::close() {
  if (!isOpen()) return std::nullopt;
  // EINTR means that the descriptor is gone and the wait was cut short; what had to be safe was synced
  // before.
  if (::close(std::exchange(mDescriptor, -1)) != 0 && errno != EINTR) return failureFromErrno();
  return std::nullopt;
}

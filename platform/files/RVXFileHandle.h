#pragma once

#include <optional>
#include <string>
#include <utility>

#include "platform/files/RVXFileAttributes.h"
#include "platform/files/RVXIOFailure.h"

// Owns one descriptor; used by one thread at a time.
class RVXFileHandle {
 public:
  RVXFileHandle() = default;
  explicit RVXFileHandle(int descriptor) : mDescriptor(descriptor) {}
  RVXFileHandle(RVXFileHandle&& other) noexcept : mDescriptor(std::exchange(other.mDescriptor, -1)) {}
  RVXFileHandle& operator=(RVXFileHandle&& other) noexcept;
  // Only tidies up: a handle whose close() matters is closed by close().
  ~RVXFileHandle();

  // open(2) with `flags` and O_CLOEXEC, new files with the permissions that the umask leaves. Interrupted
  // calls are repeated. The handle is not open when the call failed; errno then says why.
  static RVXFileHandle open(const std::string& path, int flags);

  // The same without waiting for the other end of a FIFO: where nobody reads it, writing it can't be opened,
  // and reading it begins at its end. Where another process has to give back a lease first, it is waited for.
  // Transfers wait as ever.
  static RVXFileHandle openWithoutPeer(const std::string& path, int flags);

  // The open file's attributes; none when they can't be read.
  [[nodiscard]] std::optional<RVXFileAttributes> attributes() const;

  [[nodiscard]] bool isOpen() const { return mDescriptor >= 0; }
  [[nodiscard]] int descriptor() const { return mDescriptor; }

  // Closes once, and never again whatever the answer: Linux has freed the number. A handle that is not open
  // is closed without a failure.
  std::optional<RVXIOFailure> close();

 private:
  int mDescriptor = -1;
};

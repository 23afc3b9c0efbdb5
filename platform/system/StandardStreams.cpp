#include "platform/system/StandardStreams.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace {

int descriptorOf(RVXStandardStream stream) {
  return stream == RVXStandardStream::output ? STDOUT_FILENO : STDERR_FILENO;
}

}  // namespace

bool isOpen(RVXStandardStream stream) {
  return ::fcntl(descriptorOf(stream), F_GETFD) >= 0;
}

RVXOutcome<> writeTo(RVXStandardStream stream, std::string_view text) {
  constexpr int kForEver = -1;
  const int descriptor = descriptorOf(stream);
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written > 0) {
      text.remove_prefix(static_cast<size_t>(written));
    } else if (written == 0) {
      return failureFromErrno(ENOSPC);
    } else if (errno == EAGAIN) {
      pollfd output{descriptor, POLLOUT, 0};
      ::poll(&output, 1, kForEver);
    } else if (errno != EINTR) {
      return failureFromErrno(errno);
    }
  }
  return {};
}

std::optional<size_t> terminalColumns(RVXStandardStream stream) {
  constexpr size_t kUsual = 80;
  constexpr size_t kFewest = 20;
  if (::isatty(descriptorOf(stream)) == 0) return std::nullopt;
  winsize size{};
  if (::ioctl(descriptorOf(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsual;
  return std::max<size_t>(size.ws_col, kFewest);
}

void letWritesFail() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

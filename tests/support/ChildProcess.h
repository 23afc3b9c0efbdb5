#pragma once

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// Runs code that ends the process, or changes it, in a child of its own.

// How a child ended and what it printed.
struct ChildEnd {
  int status = -1;                  // the exit status; -1 when a signal ended the child
  std::string output;               // standard output and standard error together
  std::vector<std::string> writes;  // the same, one element a write(2)
};

namespace child_process {

inline constexpr unsigned kMostSeconds = 60;
inline constexpr int kBodyReturned = 250;  // a status that no end of the process has

template <typename Body>
[[noreturn]] void runBody(Body body, int output) {
  ::alarm(kMostSeconds);  // a body that hangs ends by SIGALRM
  ::dup2(output, STDOUT_FILENO);
  ::dup2(output, STDERR_FILENO);
  ::close(output);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  body();
  std::_Exit(kBodyReturned);
}

inline void collectWrites(int output, ChildEnd& end) {
  static std::array<char, 1024 * 1024> record;
  while (true) {
    const ssize_t length = ::recv(output, record.data(), record.size(), 0);
    if (length <= 0) return;
    end.writes.emplace_back(record.data(), static_cast<size_t>(length));
    end.output += end.writes.back();
  }
}

}  // namespace child_process

// The child has no other thread than its own: the body must not need one that a test of the same program has
// started, nor start an RVXThread where one has. Its output is a socket that keeps the limits of each write.
template <typename Body>
ChildEnd runInChild(Body body) {
  std::array<int, 2> sockets{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets.data()) != 0) return {};
  std::fflush(nullptr);  // what is buffered would be printed by both
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(sockets[0]);
    child_process::runBody(body, sockets[1]);
  }
  ::close(sockets[1]);
  ChildEnd end;
  child_process::collectWrites(sockets[0], end);
  ::close(sockets[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFEXITED(status)) end.status = WEXITSTATUS(status);
  return end;
}

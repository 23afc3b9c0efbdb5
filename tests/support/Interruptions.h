#pragma once

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include "tests/support/Waiting.h"

// As long as it lives, interrupts the thread that made it, again and again: its system calls end with EINTR.
class Interruptions {
 public:
  Interruptions() {
    struct sigaction action {};
    action.sa_handler = [](int) { sCount.fetch_add(1, std::memory_order_relaxed); };
    ::sigaction(kSignal, &action, nullptr);  // without SA_RESTART
    mThread = std::jthread([victim = ::pthread_self()](const std::stop_token& stop) {
      while (!stop.stop_requested()) {
        ::pthread_kill(victim, kSignal);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    });
  }
  Interruptions(const Interruptions&) = delete;
  Interruptions& operator=(const Interruptions&) = delete;

  // For other threads: returns when some more have come.
  static void waitForSome() {
    const int before = sCount.load(std::memory_order_relaxed);
    eventually([&] { return sCount.load(std::memory_order_relaxed) > before + kSome; });
  }

 private:
  static constexpr int kSignal = SIGUSR2;
  static constexpr int kSome = 20;
  static inline std::atomic<int> sCount{0};

  std::jthread mThread;
};

// What comes out of a pipe that is standard output while `write` is run and interrupted again and again: it
// should be all of what that writes, which is more than a pipe holds. To be called in a child process.
template <typename Write>
std::string outputThroughInterruptions(size_t length, Write write) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return "(no pipe)";
  const int output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
  ::dup2(ends[1], STDOUT_FILENO);
  std::string received;
  {
    const Interruptions interruptions;
    const std::jthread reader([&] {
      std::array<char, 65536> piece;
      while (received.size() < length) {
        Interruptions::waitForSome();
        const ssize_t count = ::read(ends[0], piece.data(), piece.size());
        if (count > 0) received.append(piece.data(), static_cast<size_t>(count));
      }
    });
    write();
  }
  ::dup2(output, STDOUT_FILENO);
  return received;
}

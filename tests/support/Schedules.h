#pragma once

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

// Threads under many schedules. A seed decides everything that a schedule plans: how much work there is, and
// where and how long each thread pauses. What the machine adds, nobody can repeat.
//   RVX_THOROUGH=1        each test runs all its schedules, not a fifth of them
//   RVX_SCHEDULES=N       each test runs N schedules
//   RVX_SCHEDULE_SEED=S   each test runs only the schedule of that seed, as a failure names it

// Numbers that a seed decides, the same on every machine (SplitMix64).
class SeededNumbers {
 public:
  explicit SeededNumbers(uint64_t seed) : mState(seed) {}

  // One of 0 to limit - 1.
  size_t below(size_t limit) {
    mState += 0x9E3779B97F4A7C15U;
    uint64_t number = mState;
    number = (number ^ (number >> 30U)) * 0xBF58476D1CE4E5B9U;
    number = (number ^ (number >> 27U)) * 0x94D049BB133111EBU;
    return static_cast<size_t>((number ^ (number >> 31U)) % limit);
  }

  bool oneIn(size_t count) { return below(count) == 0; }

  template <typename Value, size_t count>
  Value oneOf(const std::array<Value, count>& values) {
    return values[below(count)];
  }

 private:
  uint64_t mState;
};

// The pauses of one thread at its hand-overs. Some threads never pause, some are slow.
class Pauses {
 public:
  Pauses(uint64_t seed, size_t thread) : mNumbers(seed * kMostThreads + thread) {
    mStyle = mNumbers.oneOf(std::array{Style::none, Style::yields, Style::mixed, Style::slow});
  }

  void pause() {
    const size_t choice = mNumbers.below(8);
    if (mStyle == Style::none) return;
    if (mStyle == Style::slow || (mStyle == Style::mixed && choice == 0)) {
      std::this_thread::sleep_for(std::chrono::microseconds(mNumbers.below(100)));
    } else if (choice < 4) {
      std::this_thread::yield();
    }
  }

 private:
  enum class Style { none, yields, mixed, slow };
  static constexpr uint64_t kMostThreads = 1000;

  SeededNumbers mNumbers;
  Style mStyle = Style::none;
};

// As long as it lives, interrupts the threads of this process, wherever they are, and makes them sleep: a
// thread may thus be late at any place, also between two locks.
class Disturber {
 public:
  // Keeps every Disturber away from the thread that makes it, as long as it lives. For one that joins others:
  // ThreadSanitizer's runtime waits for itself when a signal comes while it frees what a joined thread had.
  class Exemption {
   public:
    Exemption() { setMask(SIG_BLOCK); }
    ~Exemption() { setMask(SIG_UNBLOCK); }
    Exemption(const Exemption&) = delete;
    Exemption& operator=(const Exemption&) = delete;

   private:
    static void setMask(int how) {
      sigset_t signals;
      ::sigemptyset(&signals);
      ::sigaddset(&signals, kSignal);
      ::pthread_sigmask(how, &signals, nullptr);
    }
  };

  explicit Disturber(uint64_t seed) : mNumbers(seed) {
    struct sigaction action {};
    action.sa_handler = sleepHere;
    action.sa_flags = SA_RESTART;
    ::sigaction(kSignal, &action, nullptr);
    mThread = std::jthread([this](const std::stop_token& stop) { disturb(stop); });
  }

 private:
  static constexpr int kSignal = SIGUSR1;

  static void sleepHere(int /*signal*/) {
    const int savedErrno = errno;
    const timespec pause{0, sPause.load(std::memory_order_relaxed)};
    ::nanosleep(&pause, nullptr);
    errno = savedErrno;
  }

  void disturb(const std::stop_token& stop) {
    const pid_t self = ::gettid();
    while (!stop.stop_requested()) {
      const std::vector<pid_t> threads = threadsOfThisProcess();
      const pid_t victim = threads[mNumbers.below(threads.size())];
      sPause.store(static_cast<long>(mNumbers.below(300'000)), std::memory_order_relaxed);
      if (victim != self) ::syscall(SYS_tgkill, ::getpid(), victim, kSignal);
      std::this_thread::sleep_for(std::chrono::microseconds(mNumbers.below(100)));
    }
  }

  static std::vector<pid_t> threadsOfThisProcess() {
    std::vector<pid_t> threads;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
      threads.push_back(std::stoi(entry.path().filename().string()));
    }
    return threads;
  }

  static inline std::atomic<long> sPause{0};  // nanoseconds

  SeededNumbers mNumbers;
  std::jthread mThread;  // last: ended before what it uses goes
};

// Names the schedule and ends the process when the schedule does not come to its end.
class HangReport {
 public:
  explicit HangReport(const std::string& schedule) {
    std::snprintf(sText.data(), sText.size(), "A schedule hangs; repeat it with %s\n", schedule.c_str());
    struct sigaction action {};
    action.sa_handler = report;
    ::sigaction(SIGALRM, &action, nullptr);
    ::alarm(kMostSeconds);
  }
  ~HangReport() { ::alarm(0); }
  HangReport(const HangReport&) = delete;
  HangReport& operator=(const HangReport&) = delete;

 private:
  static constexpr unsigned kMostSeconds = 60;

  static void report(int /*signal*/) {
    [[maybe_unused]] const ssize_t length = ::write(STDERR_FILENO, sText.data(), std::strlen(sText.data()));
    std::_Exit(EXIT_FAILURE);
  }

  static inline std::array<char, 100> sText{};
};

// The value of an environment variable, or another one where it is not set.
inline uint64_t numberFromEnvironment(const char* name, uint64_t otherwise) {
  const char* const text = std::getenv(name);
  return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

// Calls `run` with the seeds from 1 on, `count` of them where all are asked for, until one fails.
template <typename Run>
void runSchedules(uint64_t count, Run run) {
  const uint64_t only = numberFromEnvironment("RVX_SCHEDULE_SEED", 0);
  const uint64_t usual = std::getenv("RVX_THOROUGH") != nullptr ? count : count / 5;
  const uint64_t last = only != 0 ? only : numberFromEnvironment("RVX_SCHEDULES", usual);
  for (uint64_t seed = only != 0 ? only : 1; seed <= last; ++seed) {
    const std::string schedule = "RVX_SCHEDULE_SEED=" + std::to_string(seed);
    const HangReport hangReport(schedule);
    run(seed);
    ASSERT_FALSE(testing::Test::HasFailure()) << "Repeat this schedule with " << schedule;
  }
}

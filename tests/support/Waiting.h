#pragma once

#include <unistd.h>

#include <chrono>
#include <thread>

// Ends the process by SIGALRM when a test that waits for threads doesn't come to its end.
class Deadline {
 public:
  Deadline() { ::alarm(kMostSeconds); }
  ~Deadline() { ::alarm(0); }
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

 private:
  static constexpr unsigned kMostSeconds = 100;
};

// Waits until the condition holds; false when it does not for a long time.
template <typename Condition>
bool eventually(Condition condition) {
  constexpr int kMostPolls = 30000;
  for (int i = 0; i < kMostPolls; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

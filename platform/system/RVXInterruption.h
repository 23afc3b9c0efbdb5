#pragma once

#include <chrono>
#include <optional>

// A request to end the process (SIGINT, SIGTERM), and the main thread's wait for it or for news from other
// threads. A process has only one.
class RVXInterruption {
 public:
  // From now on the two signals only leave their number here; one that was ignored so far stays ignored. A
  // second signal changes nothing.
  static void begin();

  // The number of the signal that has come; none while none has.
  static std::optional<int> signalNumber();

  // Lets wait() return, or the next one if nobody waits. From any thread.
  static void wake();

  // Waits for wake() or a signal, no longer than `longest` where one is given. Only for the main thread.
  static void wait(std::optional<std::chrono::milliseconds> longest);

  // Ends the process by that signal, while other threads still run.
  [[noreturn]] static void endProcess(int signalNumber);
};

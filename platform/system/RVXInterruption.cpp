#include "platform/system/RVXInterruption.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "include/EndProcess.h"
#include "platform/files/RVXIOFailure.h"

namespace {

// Lock-free, as a signal handler needs. The number is all there is to see: relaxed.
std::atomic<int> receivedSignal{0};
int wakeEvent = -1;

void receive(int signalNumber) {
  const int interruptedErrno = errno;
  int none = 0;
  receivedSignal.compare_exchange_strong(none, signalNumber, std::memory_order_relaxed);
  RVXInterruption::wake();
  errno = interruptedErrno;
}

void install(int signalNumber) {
  struct sigaction action {};
  if (::sigaction(signalNumber, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = receive;
  action.sa_flags = SA_RESTART;
  ::sigaction(signalNumber, &action, nullptr);
}

}  // namespace

void RVXInterruption::begin() {
  wakeEvent = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wakeEvent < 0) endProcessWithout("event", failureFromErrno(errno).reason.c_str());
  for (const int signalNumber : {SIGINT, SIGTERM}) install(signalNumber);
}

std::optional<int> RVXInterruption::signalNumber() {
  const int received = receivedSignal.load(std::memory_order_relaxed);
  return received != 0 ? std::optional(received) : std::nullopt;
}

void RVXInterruption::wake() {
  // One write. It fails only where more are pending than can be counted; the waiter then wakes all the same.
  ::eventfd_write(wakeEvent, 1);
}

void RVXInterruption::wait(std::optional<std::chrono::milliseconds> longest) {
  constexpr int kForEver = -1;
  pollfd event{wakeEvent, POLLIN, 0};
  if (::poll(&event, 1, longest ? static_cast<int>(longest->count()) : kForEver) <= 0) return;
  eventfd_t count = 0;
  ::eventfd_read(wakeEvent, &count);
}

void RVXInterruption::endProcess(int signalNumber) {
  std::signal(signalNumber, SIG_DFL);
  std::raise(signalNumber);
  std::abort();  // not reached: the two signals end a process
}

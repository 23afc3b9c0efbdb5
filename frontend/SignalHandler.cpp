#include "frontend/SignalHandler.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstring>

#include "platform/system/RVXSignalSafe.h"

namespace {

constexpr size_t kLongestReport = 16384;  // bytes; a longer call stack is cut

const char* knownSignalName(int signalNumber) {
  switch (signalNumber) {
    case SIGABRT:
      return "SIGABRT";
    case SIGFPE:
      return "SIGFPE";
    case SIGKILL:
      return "SIGKILL";
    case SIGSEGV:
      return "SIGSEGV";
    default:
      return nullptr;
  }
}

}  // namespace

void signalHandler(int signalNumber) {
  constexpr char kIntroduction[] = "Received signal: ";
  constexpr size_t kLongestNumber = 12;
  std::array<char, kLongestReport> report;
  char* end = std::copy(std::begin(kIntroduction), std::end(kIntroduction) - 1, report.begin());
  if (const char* name = knownSignalName(signalNumber)) {
    end = std::copy(name, name + std::strlen(name), end);
  } else {
    end = std::to_chars(end, end + kLongestNumber, signalNumber).ptr;
  }
  end += writeCallStack({end, report.data() + report.size()});
  writeToStandardOutput({report.data(), end});
}

void installSignalHandler() {
  prepareCallStack();
  for (const int signalNumber : {SIGABRT, SIGSEGV, SIGKILL, SIGFPE}) std::signal(signalNumber, signalHandler);
}

#include "frontend/SignalHandler.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <string_view>

#include "platform/system/SignalSafe.h"

namespace {

constexpr size_t kLongestReport = 16384;  // bytes; a longer call stack is cut

struct Signal {
  int number;
  std::string_view name;
};
constexpr auto kReported = std::to_array<Signal>(
    {{SIGABRT, "SIGABRT"}, {SIGSEGV, "SIGSEGV"}, {SIGKILL, "SIGKILL"}, {SIGFPE, "SIGFPE"}});

}  // namespace

void signalHandler(int signalNumber) {
  constexpr std::string_view kIntroduction = "Received signal: ";
  constexpr size_t kLongestNumber = 12;
  std::array<char, kLongestReport> report;
  char* end = std::copy(kIntroduction.begin(), kIntroduction.end(), report.begin());
  const auto* const known = std::ranges::find(kReported, signalNumber, &Signal::number);
  if (known != kReported.end()) {
    end = std::copy(known->name.begin(), known->name.end(), end);
  } else {
    end = std::to_chars(end, end + kLongestNumber, signalNumber).ptr;
  }
  end += writeCallStack({end, report.data() + report.size()});
  writeToStandardOutput({report.data(), end});
}

void installSignalHandler() {
  prepareCallStack();
  for (const Signal& reported : kReported) std::signal(reported.number, signalHandler);
}

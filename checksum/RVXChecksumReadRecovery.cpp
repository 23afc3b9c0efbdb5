#include "checksum/RVXChecksumReadRecovery.h"

#include <algorithm>
#include <optional>

#include "include/EndProcess.h"
#include "include/Print.h"

namespace {

std::optional<std::string> asciiText(const std::string& text) {
  const bool isAscii =
      std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) >= 0; });
  return isAscii ? std::optional(text) : std::nullopt;
}

}  // namespace

void RVXChecksumReadRecovery::readFailed(const RVXIOFailure& failure, int64_t position) {
  print("ERROR: unexpected %s during read: %s at position:%lld\n", textOrNull(asciiText(failure.name)),
        textOrNull(asciiText(failure.reason)), static_cast<long long>(position));
  print("ERROR: failed reading from %s\n", textOrNull(asciiText(mPath)));
}

void RVXChecksumReadRecovery::readFailedAgain(const RVXIOFailure& firstFailure) {
  // The first failure's words on purpose: the second is often only its consequence.
  endProcess(ExitStatus::verifyReadFailed, [&] {
    print("ERROR: again unexpected %s during read: %s\n", textOrNull(asciiText(firstFailure.name)),
          textOrNull(asciiText(firstFailure.reason)));
    print("ERROR: again failed reading from %s\n", textOrNull(asciiText(mPath)));
  });
}

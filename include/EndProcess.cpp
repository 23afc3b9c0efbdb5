#include "include/EndProcess.h"

#include <cstdlib>
#include <mutex>

#include "include/Print.h"

void endProcess(ExitStatus status) {
  std::_Exit(static_cast<int>(status));
}

void claimProcessEnd() {
  static std::mutex processEnd;
  thread_local bool isClaimed = false;
  if (isClaimed) return;
  isClaimed = true;
  processEnd.lock();  // never unlocked: whoever holds it ends the process
}

void endProcessWithout(const char* what, const char* reason) {
  endProcess(ExitStatus::machineRefused, [&] { print("ERROR: No %s available: %s\n", what, reason); });
}

void endProcessWithoutMemory() {
  endProcessWithout("memory", "allocation refused");
}

#include "include/EndProcess.h"
#include "include/Print.h"
#include "tests/fuzz/EndedProcess.h"

// Linked instead of the program's own definitions, so that a fuzz target outlives a wrong command line.

void endProcess(ExitStatus status) {
  throw EndedProcess{status};
}

void claimProcessEnd() {}

void endProcessWithout(const char* what, const char* reason) {
  print("ERROR: No %s available: %s\n", what, reason);
  endProcess(ExitStatus::machineRefused);
}

void endProcessWithoutMemory() {
  endProcessWithout("memory", "allocation refused");
}

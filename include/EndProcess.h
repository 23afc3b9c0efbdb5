#pragma once

#include "include/ExitStatus.h"

// Ends the process at once, from any thread, while other threads still run: no destructor and no exit
// handler is run. Standard output is unbuffered, so nothing printed is lost.
[[noreturn]] void endProcess(ExitStatus status);

// Blocks for ever every thread but the first that calls it. Where two threads fail at the same moment, the
// lines printed are thus all of one failure, and the exit status is that failure's. A thread that has claimed
// the end may do so again: its last lines may need memory that is refused.
void claimProcessEnd();

// For failures found while other threads run: prints the failure's last lines (`printLines`, a callable
// without arguments) as the only thread that still may, and ends the process.
template <typename PrintLines>
[[noreturn]] void endProcess(ExitStatus status, PrintLines printLines) {
  claimProcessEnd();
  printLines();
  endProcess(status);
}

// The machine refuses something that no run can do without: prints "ERROR: No %s available: %s\n" with what
// is missing and the reason, and ends the process with ExitStatus::machineRefused.
[[noreturn]] void endProcessWithout(const char* what, const char* reason);
// The same for memory; itself it needs none but the stack.
[[noreturn]] void endProcessWithoutMemory();

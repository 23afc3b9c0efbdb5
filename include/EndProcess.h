#pragma once

#include "include/ExitStatus.h"

// Ends the process at once, from any thread, while other threads still run: no destructor and no exit
// handler is run. Standard output is unbuffered, so nothing printed is lost.
[[noreturn]] void endProcess(ExitStatus status);

// Returns in the first thread that calls it; every other thread that calls it waits there for ever. So where
// two threads fail at the same moment, all lines printed belong to one failure, and so does the exit status.
// The thread that has claimed the end may claim it again: printing its last lines may need memory, and that
// may be refused.
void claimProcessEnd();

// For failures found while other threads run: prints the failure's last lines (`printLines`, a callable
// without arguments) and ends the process. No other failing thread prints its own.
template <typename PrintLines>
[[noreturn]] void endProcess(ExitStatus status, PrintLines printLines) {
  claimProcessEnd();
  printLines();
  endProcess(status);
}

// The machine refuses something that no run can do without: prints "ERROR: No %s available: %s\n" with what
// is missing and the reason, and ends the process with ExitStatus::machineRefused.
[[noreturn]] void endProcessWithout(const char* what, const char* reason);
// The same for memory. It needs no memory itself but the stack.
[[noreturn]] void endProcessWithoutMemory();

#pragma once

// Prints "Received signal: %s" with the signal's name, then the current thread's call stack, all without a
// line end, and returns to the interrupted code. It neither ends the process nor restores the default action.
// Safe in a signal handler: it allocates nothing and takes no lock of this program.
void signalHandler(int signalNumber);

// Installs signalHandler() for SIGABRT, SIGSEGV, SIGKILL (which the system refuses) and SIGFPE.
void installSignalHandler();

#pragma once

// Prints "Received signal: %s" with the signal's name and the current thread's call stack, without a line end
// between or after them, and returns to the interrupted code. It neither ends the process nor restores the
// default action. Safe in a signal handler: it allocates nothing and takes no lock of this program.
void signalHandler(int signalNumber);

// Installs signalHandler() for SIGABRT, SIGSEGV, SIGKILL (which the system refuses) and SIGFPE.
void installSignalHandler();

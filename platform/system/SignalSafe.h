#pragma once

#include <cstddef>
#include <span>

// What a signal handler may use: nothing here allocates or takes a lock of this program.

// Makes sure that writeCallStack() allocates nothing later: its library is loaded at the first use. To be
// called before the handler is installed.
void prepareCallStack();

// Writes the current thread's call stack as text into `text`, one piece for each frame ("module(symbol+0x12)
// [0x55d0c3a1b2c4]"), with nothing between the frames and no line end, cut where `text` ends. Returns the
// length.
size_t writeCallStack(std::span<char> text);

// Writes the text to standard output with write(2); waits while that takes no more. Leaves errno as it was.
void writeToStandardOutput(std::span<const char> text);

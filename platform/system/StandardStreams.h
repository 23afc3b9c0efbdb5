#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/files/RVXOutcome.h"

// The process's standard output and standard error as a program for people and scripts needs them.

enum class RVXStandardStream { output, error };

// False where the caller closed it. To be asked before any file is opened, which would take its place.
bool isOpen(RVXStandardStream stream);

// Writes all of `text`. Waits where the stream takes no more just now.
RVXOutcome<> writeTo(RVXStandardStream stream, std::string_view text);

// The columns of the terminal on the stream, at least 20; none where it is no terminal.
std::optional<size_t> terminalColumns(RVXStandardStream stream);

// A write to a pipe without a reader, or beyond the file size limit, becomes a failed write instead of the
// process's end.
void letWritesFail();

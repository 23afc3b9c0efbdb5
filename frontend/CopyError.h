#pragma once

#include "include/RVXError.h"

// Ends a run whose copy came back with an error: prints "ERROR: %s (%di)" (no line end) with the error's
// description and code, and ends the process with that code.
[[noreturn]] void endProcessOnCopyError(const RVXError& error);

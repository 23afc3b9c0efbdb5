#pragma once

#include <string>

#include "platform/files/RVXIOFailure.h"

// Ends a run whose copy could not be written, synced or closed: prints "ERROR: unexpected %s during write:
// %s\n" and "ERROR: failed writing to %s\n" with the destination folder, and ends the process with
// ExitStatus::noSpaceLeft when the reason contains "No space left", else with ExitStatus::writeFailed. From
// any thread.
[[noreturn]] void endProcessOnWriteFailure(const RVXIOFailure& failure, const std::string& destinationFolder);

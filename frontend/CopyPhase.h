#pragma once

#include "formats/RVXHashList.h"
#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"

// Copies every source file in turn to all destinations at once and enters its digest in the hash list (not
// when verification is skipped). When it returns, all copies and their names are with the storage.
//
// The first failure ends the process; what was copied stays. A copy that comes back with an error prints
// "ERROR: %s (%di)" (no line end) and ends with the error's code; the others are those of
// RVXCopyOperationThreaded, and 211 or 212 where a destination folder can't be synced at the end. Before that
// refuseToOverwriteSources() is asked. Runs on the main thread.
void runCopyPhase(const CopyJobOptions& options, const CopyPlan& plan, RVXHashList& hashList);

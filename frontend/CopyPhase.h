#pragma once

#include "formats/RVXHashList.h"
#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"

// Copies every source file in turn to all destinations at once and enters its digest in the hash list (not
// when verification is skipped). When it returns, all copies and their names are with the storage.
//
// The first failure ends the process; what was copied stays. A copy that comes back with an error prints
// "ERROR: %s (%di)" (no line end) and ends with the error's code; the others are those of
// RVXCopyOperationThreaded. A frame whose copy would overwrite another frame's source, through a link, is
// such an error (201) before anything is copied. Runs on the main thread.
void runCopyPhase(const CopyJobOptions& options, const CopyPlan& plan, RVXHashList& hashList);

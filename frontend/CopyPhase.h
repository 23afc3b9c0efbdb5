#pragma once

#include "formats/RVXHashList.h"
#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"

// Copies every source file in turn to all destinations at once and enters its digest in the hash list (not
// when verification is skipped). When it returns, all copies and their names are safe from a power cut.
//
// The first failure ends the process; what was copied stays. refuseToOverwriteSources() is asked first. A
// copy that comes back with an error ends as endProcessOnCopyError() says. Other failures of a copy end as
// RVXCopyOperationThreaded says, and a copy or a destination's folder that can't be synced as
// endProcessOnWriteFailure() says. Runs on the main thread.
void runCopyPhase(const CopyJobOptions& options, const CopyPlan& plan, RVXHashList& hashList);

#pragma once

#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"

// Asks, before a sequence is copied with -f, whether a copy would be written over one of the run's own source
// files: over another frame by a hard link, or in a folder that is the source's. Then it ends the process as
// for a destination that can't be opened (201) and nothing has been written. Frames beyond a gap of
// kMostMissingFrames are not looked at. A movie's one copy operation looks after its source itself; without
// -f nothing that exists is written to.
void refuseToOverwriteSources(const CopyJobOptions& options, const CopyPlan& plan);

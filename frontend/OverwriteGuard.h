#pragma once

#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"

// To be called before the first file is copied. With -f it looks whether a copy of a sequence's frame would
// overwrite one of the run's own source files: because a hard link leads to another frame, or because the
// destination's folder is the source's. Then it ends the process with status 201, as for a destination that
// can't be opened, and nothing has been written. Frames after a gap of kMostMissingFrames are not looked at.
// A movie is protected by its copy operation; without -f no existing file is written to.
void refuseToOverwriteSources(const CopyJobOptions& options, const CopyPlan& plan);

#pragma once

#include "formats/RVXHashList.h"
#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"

// Writes the list into every destination, as DEST/sha1/NAME.sha1 or DEST/md5/NAME.md5. To be called only when
// every file has been verified. A list that would take the place of a source or of a copy is not written, and
// a destination's own folder that is gone is not made again. Ends the process with
// ExitStatus::hashFolderNotCreated or hashListNotWritten; lists already written stay. Runs on the main
// thread.
void runHashListPhase(const CopyJobOptions& options, const CopyPlan& plan, RVXHashList& hashList);

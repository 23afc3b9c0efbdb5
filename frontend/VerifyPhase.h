#pragma once

#include "formats/RVXHashList.h"
#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"

// For every source file in turn, reads the source and all its copies again, side by side, and compares each
// with the digest that the copy phase entered in the hash list. The first mismatch ends the process with
// ExitStatus::wrongHash after its line. A file that can't be opened is a mismatch, too, and so are a file
// that is no longer in its place when it has been read, and a copy that is the source's own file. A file that
// can't be read ends the process as RVXGenerateChecksumOperation says. When verbose, prints the folders and
// each file that is right. Runs on the main thread.
void runVerifyPhase(const CopyJobOptions& options, const CopyPlan& plan, const RVXHashList& hashList);

// To be called instead when verification is skipped: prints for every copy that it is there, or ends the
// process with ExitStatus::destinationFileMissing.
void reportUnverifiedCopies(const CopyJobOptions& options, const CopyPlan& plan);

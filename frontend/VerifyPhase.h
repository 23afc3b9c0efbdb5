#pragma once

#include "formats/RVXHashList.h"
#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"

// For every source file in turn, re-reads the source and all its copies side by side and compares each with
// the digest that the copy phase entered in the hash list. The first mismatch ends the process with
// ExitStatus::wrongHash after its line. Also mismatches are files that can't be opened, a file that is no
// longer in its place when it has been read, and a copy that is the source's own file. A file that can't be
// read ends it as RVXGenerateChecksumOperation says. When verbose, the folders and each file that is right
// are told. Runs on the main thread.
void runVerifyPhase(const CopyJobOptions& options, const CopyPlan& plan, const RVXHashList& hashList);

// In its place when verification is skipped: tells for every copy that it is there, or ends the process with
// ExitStatus::destinationFileMissing.
void reportUnverifiedCopies(const CopyJobOptions& options, const CopyPlan& plan);

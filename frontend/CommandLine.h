#pragma once

#include <optional>
#include <string>
#include <vector>

#include "formats/RVXFileSequence.h"
#include "frontend/CopyJobOptions.h"

// From the arguments to a job that can be planned. A wrong command line ends the process: one "ERROR: " line,
// an empty line, the usage text, and the status that the function names.

// Ends the process with ExitStatus::tooFewArguments (program header and usage text instead of an "ERROR: "
// line) when there are fewer than two arguments.
void requireTwoArguments(const std::vector<std::string>& arguments);

// Reads the arguments, without the program's name. Options are recognised by their beginning (-verbose is -v,
// and so is a path -video.mov), may stand anywhere, and the last of a kind wins. Ends the process with
// ExitStatus::depthWrong, hashTypeWrong, writeHashListValueMissing, sourceArgumentMissing or
// destinationArgumentMissing.
CopyJobOptions parseArguments(const std::vector<std::string>& arguments);

// The sequence that the source argument names; none for a movie. Ends the process with
// ExitStatus::sequenceIdentifierWrong.
std::optional<RVXFileSequence> parseSequence(const CopyJobOptions& options);

// Ends the process with ExitStatus::sourceNotAFile when the movie, or the sequence's first frame, does not
// exist or is a folder. A symbolic link passes, whatever it leads to: it is copied as a link.
void checkSource(const CopyJobOptions& options, const std::optional<RVXFileSequence>& sequence);

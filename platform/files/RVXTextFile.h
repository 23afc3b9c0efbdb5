#pragma once

#include <string>
#include <string_view>

#include "platform/files/RVXOutcome.h"

// Whole small text files.

// The file's bytes.
RVXOutcome<std::string> readTextFile(const std::string& path);

// Writes the text, hands it with its name to the storage, and reads it back from there: where that gives
// anything else, or fails twice, the failure is EIO, and what is there stays. Atomically: a reader, also one
// after a power cut, sees either what was there before or the whole new text; when it can't be written,
// nothing is left behind, except when only the sync of the folder failed: then the new text is there, but a
// power cut may take it. Otherwise an existing file is truncated and written in place.
RVXOutcome<> writeTextFile(const std::string& path, std::string_view text, bool atomically);

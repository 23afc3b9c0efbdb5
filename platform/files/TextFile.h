#pragma once

#include <string>
#include <string_view>

#include "platform/files/RVXOutcome.h"

// Whole small text files.

// The file's bytes.
RVXOutcome<std::string> readTextFile(const std::string& path);

// Writes the text, hands it and its name to the storage, and reads it back from there. When the storage has
// another text, or can't be read at the second try either, the failure is EIO, and the file stays.
//
// When `atomically` is true, a reader, even after a power cut, sees either what was there before or the whole
// new text. When it can't be written, nothing new is left, with one exception: when only the sync of the
// folder failed, the new text is there, but a power cut may take it. When `atomically` is false, an existing
// file is truncated and written in place.
RVXOutcome<> writeTextFile(const std::string& path, std::string_view text, bool atomically);

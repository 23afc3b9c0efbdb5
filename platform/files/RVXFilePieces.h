#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/files/RVXOutcome.h"

// Reads a file of any size, past the page cache, and hands its bytes to `take` piece by piece until that
// answers false. The failure where the file, or the rest of it, can't be read, also at a second try.
RVXOutcome<> readInPieces(const std::string& path, const std::function<bool(std::string_view)>& take);

#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/files/RVXOutcome.h"

// Reads a regular file of any size, past the page cache, and hands its bytes to `take` piece by piece until
// that answers false. The failure where it is no such file, or it or the rest of it can't be read, also at a
// second try.
RVXOutcome<> readInPieces(const std::string& path, const std::function<bool(std::string_view)>& take);

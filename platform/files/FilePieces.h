#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/files/RVXOutcome.h"

// Reads a regular file of any size, past the page cache, and hands its bytes to `take` piece by piece until
// that answers false. Fails where it is no regular file, or where it can't be read, or only in part; each
// block is tried twice.
RVXOutcome<> readInPieces(const std::string& path, const std::function<bool(std::string_view)>& take);

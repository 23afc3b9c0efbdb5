#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/files/RVXFileAttributes.h"
#include "platform/files/RVXOutcome.h"

// Calls `take` with each entry of the folder at `path` (empty: the current one), in no order, "." and ".."
// left out, and with the type of the entry itself, a link not followed. What only looks like an entry,
// because it is gone again, has the type `other`. Fails where the folder, or the rest of it, can't be listed.
RVXOutcome<> readFolder(const std::string& path,
                        const std::function<void(const char* name, RVXFileType type)>& take);

// The path of what `path` leads to, absolute and without links; none where there is nothing.
std::optional<std::string> realPath(const std::string& path);

#pragma once

#include <string>
#include <string_view>

// Operations on the text of a path. None of them looks at the file system. Empty text stands for the current
// folder. A path is bytes: nothing is said about their encoding.

// The path without slashes at its end; "/" stays. Valid as long as the text.
std::string_view withoutTrailingSlashes(std::string_view path);

// The last component; trailing slashes are ignored. "/" for "/", empty for empty text.
std::string lastPathComponent(std::string_view path);

// The path without its last component: empty for a single relative name, "/" for "/" and for "/name".
std::string pathWithoutLastComponent(std::string_view path);

// Joins with exactly one "/". A component that is empty or only slashes adds nothing, and the path then keeps
// its own trailing slash; a component joined to empty text stays relative.
std::string pathByAppendingComponent(std::string_view path, std::string_view component);

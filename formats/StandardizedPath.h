#pragma once

#include <string>
#include <string_view>

// The path with a leading tilde expanded to the home folder of the user, doubled slashes and "/./" reduced to
// one slash, a trailing slash dropped, and ".." resolved, in absolute paths only.
std::string standardizedPath(std::string_view path);

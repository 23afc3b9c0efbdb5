#pragma once

#include <bitset>
#include <optional>
#include <string_view>

// A set of bytes in brackets, as in shell patterns (POSIX 2.13): bytes, ranges, classes such as [:alpha:] of
// ASCII; "!" or "^" in front negates; "\" takes the next byte as it is; a "]" that comes first is a member.
// `text` begins after the "[" and is then what comes after the "]". None where there is no end, or a class
// is not known.
std::optional<std::bitset<256>> takeByteSet(std::string_view& text);

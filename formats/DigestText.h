#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "include/DigestKind.h"

// Digests, given as bytes, in the texts that lists have for them: hexadecimal digits, two for a byte, and for
// C4 (SMPTE ST 2114) "c4" and 88 digits in base 58.

// Hexadecimal digits are in lower case. Requires digestLength() bytes.
std::string digestText(DigestKind kind, std::string_view digest);

// Hexadecimal digits may have any case. None where the text has another form or length.
std::optional<std::string> digestOfText(DigestKind kind, std::string_view text);

// An XXH32 that is written as a decimal number of up to ten digits; none where the text is none or not below
// 2^32.
std::optional<std::string> digestOfDecimalText(std::string_view text);

#pragma once

#include <optional>
#include <string>
#include <string_view>

// The text of a SHA-512 by SMPTE ST 2114: "c4" and the number, its first byte the most significant one, as 88
// digits in base 58, which have no "0", "O", "I" and "l".

// Requires 64 bytes.
std::string c4Text(std::string_view digest);

// The 64 bytes; none where the text has another form, or stands for a larger number.
std::optional<std::string> digestOfC4Text(std::string_view text);

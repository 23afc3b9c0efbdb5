#pragma once

#include <string>
#include <string_view>

// The text of a path or name from outside as it is printed: raw bytes, but control characters and the
// backslash as \n, \r, \t, \\, else \xHH, so that every line of the output is one line and can be read back.
std::string printedText(std::string_view text);

// True for the bytes that printedText() leaves as they are.
constexpr bool isPrintedAsItIs(char byte) {
  const auto code = static_cast<unsigned char>(byte);
  return code >= 0x20 && code != 0x7F && code != '\\';
}

// A number of bytes for people: "999 B", "1.0 kB", "2.5 MB", "1234.5 GB", rounded half up.
std::string printedSize(long long bytes);

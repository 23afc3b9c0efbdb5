#pragma once

#include <optional>
#include <string>

// Prints to standard output as printf does, in one piece: lines of several threads never mix, however long
// they are. Waits where standard output takes no more just now. Where it fails, the text is lost without a
// word, for a copy is worth more than its report; only a pipe that nobody reads any more ends the process, by
// SIGPIPE, unless its parent had that ignored. May be called from any thread. The text is only what `format`
// says: no line end is added. A path or any other text from outside is an argument, never the format.
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...);

// The text for a "%s"; "(null)" when it is absent. Valid as long as `text`.
inline const char* textOrNull(const std::optional<std::string>& text) {
  return text ? text->c_str() : "(null)";
}

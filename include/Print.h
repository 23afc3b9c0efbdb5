#pragma once

#include <optional>
#include <string>

// Prints to standard output as printf does, in one piece: lines of several threads never mix, however long
// they are. Waits while standard output takes no more. When printing fails, the text is lost without a
// message, because a copy is worth more than its report. Only a pipe that nobody reads any more ends the
// process, by SIGPIPE, unless the parent process had SIGPIPE ignored. May be called from any thread. No line
// end is added. A path or any other text from outside is an argument, never the format.
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...);

// The text for a "%s"; "(null)" when it is absent. Valid as long as `text`.
inline const char* textOrNull(const std::optional<std::string>& text) {
  return text ? text->c_str() : "(null)";
}

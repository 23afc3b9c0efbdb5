#include "include/Print.h"

#include <array>
#include <cstdarg>
#include <cstdio>

void print(const char* format, ...) {
  std::array<char, 1024> shortText;
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(shortText.data(), shortText.size(), format, arguments);
  va_end(arguments);
  if (length >= 0) {
    // One fwrite on an unbuffered stream is one write of any length; one printf is not, beyond 8,192 bytes.
    if (static_cast<size_t>(length) < shortText.size()) {
      std::fwrite(shortText.data(), 1, static_cast<size_t>(length), stdout);
    } else {
      std::string longText(static_cast<size_t>(length), '\0');
      std::vsnprintf(longText.data(), longText.size() + 1, format, again);
      std::fwrite(longText.data(), 1, longText.size(), stdout);
    }
  }
  va_end(again);
}

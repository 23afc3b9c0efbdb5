#include "include/Print.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string_view>
#include <thread>

namespace {

// One fwrite on an unbuffered stream is one write of any length; one printf is not, beyond 8,192 bytes. The
// lock is for the rest of a line that could not be taken at once, by a pipe that its owner made non-blocking.
void printWhole(std::string_view text) {
  static std::mutex standardOutput;
  const std::lock_guard<std::mutex> lock(standardOutput);
  while (true) {
    errno = 0;
    text.remove_prefix(std::fwrite(text.data(), 1, text.size(), stdout));
    if (text.empty() || (errno != EAGAIN && errno != EINTR)) return;
    std::clearerr(stdout);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace

void print(const char* format, ...) {
  std::array<char, 1024> shortText;
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(shortText.data(), shortText.size(), format, arguments);
  va_end(arguments);
  if (length >= 0) {
    if (static_cast<size_t>(length) < shortText.size()) {
      printWhole({shortText.data(), static_cast<size_t>(length)});
    } else {
      std::string longText(static_cast<size_t>(length), '\0');
      std::vsnprintf(longText.data(), longText.size() + 1, format, again);
      printWhole(longText);
    }
  }
  va_end(again);
}

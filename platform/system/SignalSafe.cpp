#include "platform/system/SignalSafe.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace {

constexpr int kMostFrames = 64;

// Appends to a fixed buffer and silently stops at its end; formatted prints are not safe in a handler.
class RVXFixedText {
 public:
  explicit RVXFixedText(std::span<char> text) : mText(text) {}

  void append(std::string_view piece) {
    for (const char c : piece) {
      if (mLength < mText.size()) mText[mLength++] = c;
    }
  }

  void appendHexadecimal(uintptr_t number) {
    std::array<char, 2 * sizeof number> digits;
    const char* const end = std::to_chars(digits.begin(), digits.end(), number, 16).ptr;
    append("0x");
    append({digits.data(), end});
  }

  [[nodiscard]] size_t length() const { return mLength; }

 private:
  std::span<char> mText;
  size_t mLength = 0;
};

void appendFrame(RVXFixedText& text, void* frame) {
  const auto address = reinterpret_cast<uintptr_t>(frame);
  Dl_info info{};
  if (::dladdr(frame, &info) != 0) {
    text.append(info.dli_fname);
    text.append("(");
    if (info.dli_sname != nullptr) text.append(info.dli_sname);
    text.append("+");
    const void* const base = info.dli_sname != nullptr ? info.dli_saddr : info.dli_fbase;
    text.appendHexadecimal(address - reinterpret_cast<uintptr_t>(base));
    text.append(") ");
  }
  text.append("[");
  text.appendHexadecimal(address);
  text.append("]");
}

// Needed only where the owner of standard output made it non-blocking.
void waitForStandardOutput() {
  constexpr int kForEver = -1;
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  ::poll(&output, 1, kForEver);
}

}  // namespace

void prepareCallStack() {
  void* frame = nullptr;
  ::backtrace(&frame, 1);
}

size_t writeCallStack(std::span<char> text) {
  std::array<void*, kMostFrames> frames;
  const int count = ::backtrace(frames.data(), kMostFrames);
  RVXFixedText written(text);
  for (int i = 0; i < count; ++i) appendFrame(written, frames[static_cast<size_t>(i)]);
  return written.length();
}

void writeToStandardOutput(std::span<const char> text) {
  const int interruptedErrno = errno;
  while (!text.empty()) {
    errno = 0;  // what a write that takes nothing leaves as it is
    const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
    if (written > 0) {
      text = text.subspan(static_cast<size_t>(written));
    } else if (errno == EAGAIN) {
      waitForStandardOutput();
    } else if (errno != EINTR) {
      break;
    }
  }
  errno = interruptedErrno;
}

#include "check/PrintedText.h"

#include <algorithm>
#include <array>

namespace {

std::string escapeOf(char byte) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  switch (byte) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    case '\\':
      return "\\\\";
    default:
      const auto code = static_cast<unsigned char>(byte);
      return std::string("\\x") + kHexDigits[code / 16] + kHexDigits[code % 16];
  }
}

}  // namespace

std::string printedText(std::string_view text) {
  if (std::ranges::all_of(text, isPrintedAsItIs)) return std::string(text);
  std::string printed;
  for (const char byte : text) {
    if (isPrintedAsItIs(byte)) {
      printed += byte;
    } else {
      printed += escapeOf(byte);
    }
  }
  return printed;
}

std::string printedSize(long long bytes) {
  constexpr std::array<const char*, 3> kUnits = {" kB", " MB", " GB"};
  if (bytes < 1000) return std::to_string(bytes) + " B";
  long long unit = 1000;
  size_t name = 0;
  const auto tenths = [&] { return (bytes + unit / 20) / (unit / 10); };
  while (tenths() >= 10000 && name + 1 < kUnits.size()) {
    unit *= 1000;
    ++name;
  }
  return std::to_string(tenths() / 10) + "." + std::to_string(tenths() % 10) + kUnits[name];
}

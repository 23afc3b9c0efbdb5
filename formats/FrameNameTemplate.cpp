#include "formats/FrameNameTemplate.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::string_view kDigits = "0123456789";

size_t countLeading(std::string_view text, std::string_view characters) {
  return std::min(text.find_first_not_of(characters), text.size());
}

// The value of a text of digits; any that is larger than `limit` gives limit + 1.
int boundedNumber(std::string_view digits, int limit) {
  int64_t number = 0;
  for (const char digit : digits) number = std::min<int64_t>(number * 10 + (digit - '0'), int64_t{limit} + 1);
  return static_cast<int>(number);
}

// The conversion that a text begins with.
struct Conversion {
  size_t length = 0;   // characters in the template; 0 when it is none that can be carried out
  std::string format;  // the same for a 32-bit argument

  static Conversion parse(std::string_view text, int widestField) {
    size_t i = 1;  // the "%"
    i += countLeading(text.substr(i), "-+ #0");
    const size_t widthLength = countLeading(text.substr(i), kDigits);
    if (boundedNumber(text.substr(i, widthLength), widestField) > widestField) return {};
    i += widthLength;
    if (text.substr(i).starts_with('.')) {
      const size_t precisionLength = countLeading(text.substr(i + 1), kDigits);
      if (boundedNumber(text.substr(i + 1, precisionLength), widestField) > widestField) return {};
      i += 1 + precisionLength;
    }
    const std::string_view withoutModifier = text.substr(0, i);
    i += countLeading(text.substr(i), "hlqjzt");
    if (i >= text.size() || std::string_view("diuoxX").find(text[i]) == std::string_view::npos) return {};
    return {i + 1, std::string(withoutModifier) + text[i]};
  }
};

std::string formatted(const std::string& format, int32_t number) {
  // The format is a single integer conversion of a bounded width, built above.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const int length = std::snprintf(nullptr, 0, format.c_str(), number);
  std::string text(static_cast<size_t>(std::max(length, 0)), '\0');
  std::snprintf(text.data(), text.size() + 1, format.c_str(), number);
#pragma GCC diagnostic pop
  return text;
}

}  // namespace

std::string frameNameFromTemplate(std::string_view nameTemplate, int32_t frameNumber, int widestField) {
  std::string name;
  bool isNumberTaken = false;
  while (!nameTemplate.empty()) {
    size_t used = 1;
    if (nameTemplate.starts_with("%%")) {
      name += '%';
      used = 2;
    } else if (!nameTemplate.starts_with('%') || isNumberTaken) {
      name += nameTemplate.front();
    } else if (const auto conversion = Conversion::parse(nameTemplate, widestField); conversion.length > 0) {
      name += formatted(conversion.format, frameNumber);
      used = conversion.length;
      isNumberTaken = true;
    } else {
      name += '%';
    }
    nameTemplate.remove_prefix(used);
  }
  return name;
}

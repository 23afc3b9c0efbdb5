#include "formats/mhl/XMLText.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/system/UnicodeText.h"

bool isXMLText(std::string_view text) {
  constexpr std::string_view kNoCharacters[] = {"\xEF\xBF\xBE", "\xEF\xBF\xBF"};  // U+FFFE, U+FFFF
  const bool hasControl = std::ranges::any_of(text, [](char byte) {
    return static_cast<unsigned char>(byte) < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
  });
  const auto isIn = [&](std::string_view none) { return text.find(none) != std::string_view::npos; };
  return !hasControl && !std::ranges::any_of(kNoCharacters, isIn) && isValidUTF8(text);
}

std::string xmlEscaped(std::string_view text) {
  static constexpr auto kEscapes = std::to_array<std::pair<char, std::string_view>>({{'&', "&amp;"},
                                                                                     {'<', "&lt;"},
                                                                                     {'>', "&gt;"},
                                                                                     {'"', "&quot;"},
                                                                                     {'\t', "&#9;"},
                                                                                     {'\n', "&#10;"},
                                                                                     {'\r', "&#13;"}});
  std::string escaped;
  for (const char byte : text) {
    const auto* const escape = std::ranges::find(kEscapes, byte, &std::pair<char, std::string_view>::first);
    if (escape == kEscapes.end()) {
      escaped += byte;
    } else {
      escaped += escape->second;
    }
  }
  return escaped;
}

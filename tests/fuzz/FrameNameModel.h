#pragma once

#include <regex.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// What becomes of a frame name template, told by the C library's regular expressions and formatted print.
class FrameNameModel {
 public:
  // The template must not contain a zero.
  static std::string name(const std::string& nameTemplate, int32_t frameNumber, int widestField) {
    std::string name;
    bool isNumberTaken = false;
    for (size_t i = 0; i < nameTemplate.size();) {
      const bool mayTakeNumber = nameTemplate[i] == '%' && !isNumberTaken;
      const std::string conversion = mayTakeNumber ? conversionAtStartOf(&nameTemplate[i], widestField) : "";
      if (nameTemplate.compare(i, 2, "%%") == 0) {
        name += '%';
        i += 2;
      } else if (!conversion.empty()) {
        name += printed(withoutLengthModifier(conversion), frameNumber);
        i += conversion.size();
        isNumberTaken = true;
      } else {
        name += nameTemplate[i++];
      }
    }
    return name;
  }

 private:
  using Match = std::array<regmatch_t, 3>;  // the whole, the width, the precision

  static std::string conversionAtStartOf(const char* text, int widestField) {
    static const regex_t pattern = compiled("^%[-+ #0]*([0-9]*)(\\.[0-9]*)?[hlqjzt]*[diuoxX]");
    Match match;
    if (::regexec(&pattern, text, match.size(), match.data(), 0) != 0) return "";
    const bool isTooWide =
        exceeds(matched(text, match[1]), widestField) || exceeds(matched(text, match[2]), widestField);
    return isTooWide ? "" : matched(text, match[0]);
  }

  static regex_t compiled(const char* pattern) {
    regex_t expression;
    ::regcomp(&expression, pattern, REG_EXTENDED);
    return expression;
  }

  static std::string matched(const char* text, const regmatch_t& match) {
    if (match.rm_so < 0) return "";
    return {text + match.rm_so, text + match.rm_eo};
  }

  // A number, with or without the point in front of it.
  static bool exceeds(std::string number, int limit) {
    number.erase(0, number.find_first_not_of(".0"));
    return number.size() > 9 || (!number.empty() && std::stoi(number) > limit);
  }

  static std::string withoutLengthModifier(std::string conversion) {
    const size_t modifier = conversion.find_first_of("hlqjzt");
    if (modifier != std::string::npos) conversion.erase(modifier, conversion.size() - 1 - modifier);
    return conversion;
  }

  static std::string printed(const std::string& conversion, int32_t number) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    char* text = nullptr;
    const int length = ::asprintf(&text, conversion.c_str(), number);
#pragma GCC diagnostic pop
    const std::string copy(text, static_cast<size_t>(length));
    std::free(text);
    return copy;
  }
};

#pragma once

#include <optional>
#include <string>
#include <string_view>

// One entry of a hash list as the text file has it: "LABEL(NAME)= DIGEST".
struct RVXHashListLine {
  std::string label;   // "SHA1" or "MD5"
  std::string name;    // as a standardized path
  std::string digest;  // 40 characters for SHA1, 32 for MD5; not checked to be hexadecimal

  // Parses a line without its line feed. White space before the label and blanks around and in the digest are
  // allowed; nothing else may differ. None when the line is no entry.
  static std::optional<RVXHashListLine> parse(std::string_view line);
};

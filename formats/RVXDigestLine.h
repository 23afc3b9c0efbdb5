#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "include/DigestKind.h"

// One line of a list of digests, in any of the forms that are in use:
//
//   SHA1(clip.mov)= HEX     openssl dgst, and rvxcopy's own lists
//   SHA1 (clip.mov) = HEX   BSD, and the coreutils' --tag; any number of blanks before the bracket
//   HEX  clip.mov           the coreutils, text mode
//   HEX *clip.mov           the coreutils, binary mode
//
// The label is MD5, SHA1, SHA256 or SHA512, also with a hyphen (SHA-1) or as openssl's SHA2-256, in any case;
// where there is none the digest's length tells. Hexadecimal digits have any case. After a leading backslash
// the escapes \\, \n and \r of the name mean the byte they stand for, and no other escape is taken. Blanks in
// front of a line mean nothing. Names are bytes, of any encoding.
struct RVXDigestLine {
  DigestKind kind = DigestKind::SHA1;
  std::string digest;  // bytes
  std::string name;    // never empty

  static constexpr const char* kNoDigestLine = "no digest line";
  static constexpr const char* kWrongLength = "wrong length of the digest";

  // Parses a line without its line end: the line, or which of the two problems it has.
  static std::variant<RVXDigestLine, const char*> parse(std::string_view line);
};

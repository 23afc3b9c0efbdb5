#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// One character of a UTF-8 text, read by the grammar of RFC 3629. A byte that is in no sequence of that
// grammar is a character of its own, which is neither a digit nor a space nor any ASCII character.
struct CharacterModel {
  std::string bytes;
  bool isValid = false;
  char32_t codePoint = 0;

  static std::vector<CharacterModel> ofText(std::string_view text) {
    std::vector<CharacterModel> characters;
    while (!text.empty()) {
      characters.push_back(firstOf(text));
      text.remove_prefix(characters.back().bytes.size());
    }
    return characters;
  }

  [[nodiscard]] bool is(char32_t character) const { return isValid && codePoint == character; }

 private:
  struct Bytes {
    uint8_t first;
    uint8_t last;
  };
  using Sequence = std::vector<Bytes>;

  static const std::vector<Sequence>& grammar() {
    static constexpr Bytes kTail{0x80, 0xBF};
    static const std::vector<Sequence> sequences{
        {{0x00, 0x7F}},
        {{0xC2, 0xDF}, kTail},
        {{0xE0, 0xE0}, {0xA0, 0xBF}, kTail},
        {{0xE1, 0xEC}, kTail, kTail},
        {{0xED, 0xED}, {0x80, 0x9F}, kTail},
        {{0xEE, 0xEF}, kTail, kTail},
        {{0xF0, 0xF0}, {0x90, 0xBF}, kTail, kTail},
        {{0xF1, 0xF3}, kTail, kTail, kTail},
        {{0xF4, 0xF4}, {0x80, 0x8F}, kTail, kTail},
    };
    return sequences;
  }

  static bool beginsWith(std::string_view text, const Sequence& sequence) {
    return text.size() >= sequence.size() &&
           std::equal(sequence.begin(), sequence.end(), text.begin(), [](const Bytes& allowed, char byte) {
             return static_cast<uint8_t>(byte) >= allowed.first && static_cast<uint8_t>(byte) <= allowed.last;
           });
  }

  static CharacterModel firstOf(std::string_view text) {
    for (const Sequence& sequence : grammar()) {
      if (!beginsWith(text, sequence)) continue;
      const std::string bytes(text.substr(0, sequence.size()));
      return {bytes, true, codePointOf(bytes)};
    }
    return {std::string(text.substr(0, 1)), false, 0};
  }

  // The bits of a valid sequence that are not the marks of its bytes.
  static char32_t codePointOf(const std::string& bytes) {
    static constexpr uint8_t kFirstBits[] = {0x7F, 0x1F, 0x0F, 0x07};
    char32_t codePoint = static_cast<uint8_t>(bytes[0]) & kFirstBits[bytes.size() - 1];
    for (size_t i = 1; i < bytes.size(); ++i) {
      codePoint = codePoint * 64 + static_cast<uint8_t>(bytes[i]) % 64;
    }
    return codePoint;
  }
};

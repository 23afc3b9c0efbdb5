#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A fuzzer's input as text.
inline std::string textOfInput(const uint8_t* data, size_t size) {
  return {data, data + size};
}

// The pieces of a text that each end with `end`; a last one without it counts when it is not empty.
inline std::vector<std::string> piecesEndedBy(char end, const std::string& text) {
  std::vector<std::string> pieces;
  std::string piece;
  for (const char character : text) {
    if (character == end) {
      pieces.push_back(piece);
      piece.clear();
    } else {
      piece += character;
    }
  }
  if (!piece.empty()) pieces.push_back(piece);
  return pieces;
}

// The same for C strings one after the other, as an argument vector lies in memory: none has a zero in it.
inline std::vector<std::string> cStringsOfInput(const uint8_t* data, size_t size) {
  return piecesEndedBy('\0', textOfInput(data, size));
}

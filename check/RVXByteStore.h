#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

// Keeps many short texts in a few large pieces of memory, because one allocation for each would take too
// much. A number of 32 bits names a text. Nothing is ever removed.
class RVXByteStore {
 public:
  using Place = uint32_t;

  // Requires a text of at most 65,535 bytes; ends the process beyond 4 GiB of texts.
  Place add(std::string_view text);

  // Valid as long as the store.
  [[nodiscard]] std::string_view at(Place place) const;

 private:
  using Length = uint16_t;                                // in front of each text
  static constexpr size_t kPieceSize = size_t{1} << 18U;  // bytes; no text lies in two pieces

  std::vector<std::unique_ptr<char[]>> mPieces;
  size_t mUsed = kPieceSize;  // of the last piece
};

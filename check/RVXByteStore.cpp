#include "check/RVXByteStore.h"

#include <algorithm>
#include <cstring>

#include "include/EndProcess.h"

RVXByteStore::Place RVXByteStore::add(std::string_view text) {
  if (mUsed + sizeof(Length) + text.size() > kPieceSize) {
    if ((mPieces.size() + 1) * kPieceSize > UINT32_MAX) endProcessWithoutMemory();
    mPieces.push_back(std::make_unique_for_overwrite<char[]>(kPieceSize));
    mUsed = 0;
  }
  char* const start = mPieces.back().get() + mUsed;
  const auto length = static_cast<Length>(text.size());
  std::memcpy(start, &length, sizeof length);
  std::ranges::copy(text, start + sizeof length);
  const size_t place = (mPieces.size() - 1) * kPieceSize + mUsed;
  mUsed += sizeof length + text.size();
  return static_cast<Place>(place);
}

std::string_view RVXByteStore::at(Place place) const {
  const char* const start = mPieces[place / kPieceSize].get() + place % kPieceSize;
  Length length = 0;
  std::memcpy(&length, start, sizeof length);
  return {start + sizeof length, length};
}

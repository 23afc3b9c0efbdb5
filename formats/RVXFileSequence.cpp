#include "formats/RVXFileSequence.h"

#include <algorithm>
#include <climits>
#include <vector>

#include "formats/FrameNameTemplate.h"
#include "include/Print.h"
#include "platform/system/UnicodeText.h"

namespace {

using Characters = std::vector<RVXCharacter>;

std::optional<size_t> indexOfLastHash(const Characters& identifier) {
  for (size_t i = identifier.size(); i > 0; --i) {
    if (identifier[i - 1].codePoint == U'#') return i - 1;
  }
  return std::nullopt;
}

// The length of the run of "#" that ends at `last`, if it begins after index 1. Index 0 is not examined, and
// a run that reaches it or index 1 counts as none.
size_t lengthOfHashRun(const Characters& identifier, size_t last) {
  for (size_t i = last; i >= 1; --i) {
    if (identifier[i].codePoint != U'#') return last - i;
  }
  return 0;
}

bool isDigit(const RVXCharacter& character) {
  return decimalDigitValue(character.codePoint).has_value();
}

bool isHyphen(const RVXCharacter& character) {
  return character.codePoint == U'-';
}

// How much of the identifier's first `length` characters remains without the matching ones at their end.
template <typename Matches>
size_t lengthWithoutTrailing(const Characters& identifier, size_t length, Matches matches) {
  while (length > 0 && matches(identifier[length - 1])) --length;
  return length;
}

uint64_t frameNumberAt(const Characters& identifier, size_t from) {
  return static_cast<uint64_t>(int64_t{leadingNumber(identifier, from)});
}

std::string textOf(const Characters& characters, size_t from, size_t to) {
  std::string text;
  for (size_t i = from; i < to; ++i) text += characters[i].bytes;
  return text;
}

}  // namespace

RVXFileSequence RVXFileSequence::init() {
  return {};
}

std::optional<RVXFileSequence> RVXFileSequence::initWithIdentifier(const std::string& identifier) {
  const Characters characters = charactersOf(identifier);
  const auto lastHash = indexOfLastHash(characters);
  if (!lastHash) {
    print("ERROR: Wrong arguments - missing hashes in identifier.\n");
    return std::nullopt;
  }
  RVXFileSequence sequence = init();
  const size_t digits = lengthOfHashRun(characters, *lastHash);
  sequence.mNumberOfDigits = static_cast<int32_t>(digits);

  // Counted from the last "#", so that with a run the character in front of it is left out as well. That is
  // mostly the last digit of the end frame, whose number is read from the whole identifier.
  size_t length = *lastHash - digits;
  length = lengthWithoutTrailing(characters, length, isDigit);
  sequence.mEndFrameInclusive = frameNumberAt(characters, length);
  length = lengthWithoutTrailing(characters, length, isHyphen);
  length = lengthWithoutTrailing(characters, length, isDigit);
  sequence.mStartFrame = frameNumberAt(characters, length);

  sequence.mPrefix = textOf(characters, 0, length);
  sequence.mPostfix = textOf(characters, *lastHash + 1, characters.size());
  return sequence;
}

std::optional<std::string> RVXFileSequence::filenameForFrameNumber(uint64_t frameNumber) const {
  if (frameNumber < mStartFrame || frameNumber > mEndFrameInclusive) {
    print("ERROR: framenumber not in range of sequence.\n");
    return std::nullopt;
  }
  const std::string nameTemplate =
      mPrefix.value_or("") + "%0" + std::to_string(mNumberOfDigits) + "i" + mPostfix.value_or("");
  return frameNameFromTemplate(nameTemplate, static_cast<int32_t>(frameNumber),
                               std::max(mNumberOfDigits, PATH_MAX));
}

std::optional<std::string> RVXFileSequence::filenameForIndex(uint64_t index) const {
  return filenameForFrameNumber(mStartFrame + index);
}

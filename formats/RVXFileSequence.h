#pragma once

#include <cstdint>
#include <optional>
#include <string>

// A numbered image sequence, named by one identifier: prefix, first frame, "-", last frame, a run of "#" (one
// for each digit of the frame numbers in the file names), suffix. "clip_1-100####.dpx" stands for the hundred
// files clip_0001.dpx to clip_0100.dpx. Frame numbers are read as 32-bit signed numbers and kept
// sign-extended, so a negative one becomes very large. Immutable.
class RVXFileSequence {
 public:
  // No prefix, no suffix, and both frames and the digit count 0.
  static RVXFileSequence init();

  // None, after "ERROR: Wrong arguments - missing hashes in identifier." on a line, when the identifier has
  // no "#". Nothing else is refused: the first frame may be after the last, and a number that is missing
  // is 0. Only the last run of "#" counts. The character in front of that run never belongs to the prefix,
  // and a run that begins at the identifier's first or second character has no digit count: frame numbers
  // are then not padded.
  static std::optional<RVXFileSequence> initWithIdentifier(const std::string& identifier);

  [[nodiscard]] uint64_t startFrame() const { return mStartFrame; }
  [[nodiscard]] uint64_t endFrameInclusive() const { return mEndFrameInclusive; }
  // The number of frames; wraps around to a huge one when the first frame is after the last.
  [[nodiscard]] uint64_t duration() const { return mEndFrameInclusive + 1 - mStartFrame; }
  [[nodiscard]] int32_t numberOfDigits() const { return mNumberOfDigits; }
  [[nodiscard]] const std::optional<std::string>& prefix() const { return mPrefix; }
  [[nodiscard]] const std::optional<std::string>& postfix() const { return mPostfix; }

  // The file name of a frame, its number padded with zeros to the digit count and never cut. None, after
  // "ERROR: framenumber not in range of sequence." on a line, for a frame outside the sequence.
  // A "%" in prefix or suffix is not supported; FrameNameTemplate.h says what becomes of it.
  [[nodiscard]] std::optional<std::string> filenameForFrameNumber(uint64_t frameNumber) const;

  // The same for the index in the sequence, 0 for its first frame.
  [[nodiscard]] std::optional<std::string> filenameForIndex(uint64_t index) const;

 private:
  RVXFileSequence() = default;

  std::optional<std::string> mPrefix;
  std::optional<std::string> mPostfix;
  uint64_t mStartFrame = 0;
  uint64_t mEndFrameInclusive = 0;
  int32_t mNumberOfDigits = 0;
};

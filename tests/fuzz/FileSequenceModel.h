#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tests/fuzz/CharacterModel.h"
#include "tests/fuzz/FrameNameModel.h"
#include "tests/fuzz/LenientNumberModel.h"

// The identifier of a sequence, taken apart step by step on a working text of its own.
struct FileSequenceModel {
  static constexpr const char* kNoHashes = "ERROR: Wrong arguments - missing hashes in identifier.\n";
  static constexpr const char* kOutOfRange = "ERROR: framenumber not in range of sequence.\n";

  std::string prefix;
  std::string postfix;
  uint64_t startFrame = 0;
  uint64_t endFrameInclusive = 0;
  int32_t numberOfDigits = 0;

  static std::optional<FileSequenceModel> ofIdentifier(const std::string& identifier) {
    const Characters characters = CharacterModel::ofText(identifier);
    const auto isHash = [](const CharacterModel& character) { return character.is(U'#'); };
    const auto behindLast = std::find_if(characters.rbegin(), characters.rend(), isHash);
    if (behindLast == characters.rend()) return std::nullopt;
    const auto last = static_cast<size_t>(characters.rend() - behindLast) - 1;

    FileSequenceModel sequence;
    const auto beforeRun = std::find_if_not(behindLast, characters.rend(), isHash);
    const bool isRunFromIndexTwo = characters.rend() - beforeRun >= 2;
    if (isRunFromIndexTwo) sequence.numberOfDigits = static_cast<int32_t>(beforeRun - behindLast);

    Characters working(characters.begin(),
                       characters.begin() + static_cast<ptrdiff_t>(last) - sequence.numberOfDigits);
    removeAtEnd(working, isDigitInModel);
    sequence.endFrameInclusive = numberBehind(characters, working);
    removeAtEnd(working, [](const CharacterModel& character) { return character.is(U'-'); });
    removeAtEnd(working, isDigitInModel);
    sequence.startFrame = numberBehind(characters, working);
    sequence.prefix = joined(working);
    sequence.postfix = joined(std::span(characters).subspan(last + 1));
    return sequence;
  }

  [[nodiscard]] uint64_t duration() const { return endFrameInclusive + 1 - startFrame; }

  [[nodiscard]] std::optional<std::string> fileName(uint64_t frameNumber) const {
    if (frameNumber < startFrame || frameNumber > endFrameInclusive) return std::nullopt;
    const auto number = static_cast<int32_t>(frameNumber);
    if ((prefix + postfix).find('%') == std::string::npos) return prefix + padded(number) + postfix;
    return FrameNameModel::name(prefix + "%0" + std::to_string(numberOfDigits) + "i" + postfix, number,
                                std::max(numberOfDigits, PATH_MAX));
  }

  [[nodiscard]] std::optional<std::string> fileNameOfIndex(uint64_t index) const {
    return fileName(startFrame + index);
  }

 private:
  using Characters = std::vector<CharacterModel>;

  template <typename Matches>
  static void removeAtEnd(Characters& text, Matches matches) {
    while (!text.empty() && matches(text.back())) text.pop_back();
  }

  static uint64_t numberBehind(const Characters& identifier, const Characters& working) {
    return static_cast<uint64_t>(
        int64_t{leadingNumberInModel(std::span(identifier).subspan(working.size()))});
  }

  static std::string joined(std::span<const CharacterModel> characters) {
    std::string text;
    for (const CharacterModel& character : characters) text += character.bytes;
    return text;
  }

  [[nodiscard]] std::string padded(int32_t number) const {
    const std::string digits = std::to_string(std::abs(int64_t{number}));
    const std::string sign = number < 0 ? "-" : "";
    const size_t width = static_cast<size_t>(numberOfDigits);
    const size_t length = sign.size() + digits.size();
    return sign + std::string(width > length ? width - length : 0, '0') + digits;
  }
};

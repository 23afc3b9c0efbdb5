#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "formats/RVXFileSequence.h"
#include "tests/support/OutputCapture.h"

namespace {

constexpr const char* kNoHashes = "ERROR: Wrong arguments - missing hashes in identifier.\n";
constexpr const char* kOutOfRange = "ERROR: framenumber not in range of sequence.\n";

constexpr uint64_t signExtended(int32_t number) {
  return static_cast<uint64_t>(int64_t{number});
}

struct FrameName {
  uint64_t index;
  std::optional<std::string> name;  // none for a frame outside the sequence
};

struct Parts {
  std::string prefix;
  uint64_t startFrame;
  uint64_t endFrameInclusive;
  int32_t numberOfDigits;
  std::string postfix;
  uint64_t duration;
};

struct Example {
  std::string title;
  std::string identifier;
  Parts parts;
  std::vector<FrameName> names;
};

const std::vector<Example> kExamples = {
    {"PathPrefixAndFourDigits",
     "/Volumes/Card/clip_1-100####.dpx",
     {"/Volumes/Card/clip_", 1, 100, 4, ".dpx", 100},
     {{0, "/Volumes/Card/clip_0001.dpx"}, {99, "/Volumes/Card/clip_0100.dpx"}}},
    {"LeadingZerosOfTheRangeAreNoDigitCount",
     "r1/shot_0009-0011##.exr",
     {"r1/shot_", 9, 11, 2, ".exr", 3},
     {{0, "r1/shot_09.exr"}, {1, "r1/shot_10.exr"}, {2, "r1/shot_11.exr"}}},
    {"FrameNumbersWiderThanTheDigitCountAreWrittenInFull",
     "frame1000-1002###.png",
     {"frame", 1000, 1002, 3, ".png", 3},
     {{0, "frame1000.png"}, {1, "frame1001.png"}, {2, "frame1002.png"}}},
    {"NoRangeIsOneFrame", "clip_100####.dpx", {"clip_", 100, 100, 4, ".dpx", 1}, {{0, "clip_0100.dpx"}}},
    {"SeveralHyphensAreAllRemoved",
     "clip_1--20####.dpx",
     {"clip_", 1, 20, 4, ".dpx", 20},
     {{0, "clip_0001.dpx"}, {19, "clip_0020.dpx"}}},
    {"CharacterInFrontOfTheRunIsDropped",
     "clip_1-100_####.dpx",
     {"clip_", 1, 100, 4, ".dpx", 100},
     {{0, "clip_0001.dpx"}}},
    {"NoNumbersAreFrameZeroOnly", "clip_####.dpx", {"clip", 0, 0, 4, ".dpx", 1}, {{0, "clip0000.dpx"}}},
    {"RunFromIndexOneHasNoDigitCount", "x##.dpx", {"x#", 0, 0, 0, ".dpx", 1}, {{0, "x#0.dpx"}}},
    {"RunFromIndexZeroHasNoDigitCount", "###.dpx", {"##", 0, 0, 0, ".dpx", 1}, {{0, "##0.dpx"}}},
    {"RunFromIndexTwoHasItsDigitCount", "x1##.dpx", {"x", 1, 1, 2, ".dpx", 1}, {{0, "x01.dpx"}}},
    {"SingleHashAlone", "#", {"", 0, 0, 0, "", 1}, {{0, "0"}}},
    {"OnlyTheLastRunCounts", "##_1-2###.dpx", {"##_", 1, 2, 3, ".dpx", 2}, {{0, "##_001.dpx"}}},
    {"HyphenAtTheStartHasNoPrefix", "1-12##", {"", 1, 12, 2, "", 12}, {{11, "12"}}},
    {"EndFrameIsIncludedAndTheNextIsNot",
     "clip_5-7##.dpx",
     {"clip_", 5, 7, 2, ".dpx", 3},
     {{2, "clip_07.dpx"}, {3, std::nullopt}}},
    {"StartBehindEndWrapsAndPutsEveryFrameOutOfRange",
     "clip_7-3####.tif",
     {"clip_", 7, 3, 4, ".tif", std::numeric_limits<uint64_t>::max() - 2},
     {{0, std::nullopt},
      {1, std::nullopt},
      {signExtended(-4), std::nullopt},
      {signExtended(-7), std::nullopt}}},
    {"StartOneBehindEndHasNoFrames", "clip_4-3####.tif", {"clip_", 4, 3, 4, ".tif", 0}, {{0, std::nullopt}}},
    {"NegativeStartIsHugeAndPutsEveryFrameOutOfRange",
     "a-5####",
     {"a", signExtended(-5), 5, 4, "", 11},
     {{0, std::nullopt}, {4, std::nullopt}, {5, std::nullopt}, {10, std::nullopt}, {11, std::nullopt}}},
    {"FrameNumbersAboveTheLimitAreTheLimit",
     "clip_2147483648-99999999999999999999####.dpx",
     {"clip_", 2147483647, 2147483647, 4, ".dpx", 1},
     {{0, "clip_2147483647.dpx"}}},
    {"LargestFrameNumber",
     "clip_2147483646-2147483647####.dpx",
     {"clip_", 2147483646, 2147483647, 4, ".dpx", 2},
     {{1, "clip_2147483647.dpx"}, {2, std::nullopt}}},
    {"NumbersBelowTheLowerLimitAreTheLimit",
     "a-99999999999####",
     {"a", signExtended(std::numeric_limits<int32_t>::min()), 2147483647, 4, "", uint64_t{1} << 32U},
     {{0, std::nullopt}}},
    // ARABIC-INDIC DIGIT ONE and THREE
    {"DigitsOfOtherScriptsAreDigits",
     "clip_\u0661-\u0663##.dpx",
     {"clip_", 1, 3, 2, ".dpx", 3},
     {{2, "clip_03.dpx"}}},
    {"CharactersAreCountedAndNotBytes",
     "aufn\u00E4hme_1-3\u00E9##\u00FC.dpx",
     {"aufn\u00E4hme_", 1, 3, 2, "\u00FC.dpx", 3},
     {{0, "aufn\u00E4hme_01\u00FC.dpx"}}},
    {"BytesThatAreNoTextStayAsTheyAre",
     "cl\xFFip_1-3##\xC3.dpx",
     {"cl\xFFip_", 1, 3, 2, "\xC3.dpx", 3},
     {{0, "cl\xFFip_01\xC3.dpx"}}},
    {"MoreDigitsThanAPathIsLong",
     "a1-2" + std::string(5000, '#'),
     {"a", 1, 2, 5000, "", 2},
     {{1, "a" + std::string(4999, '0') + "2"}}},
    {"ConversionInThePrefixTakesTheNumber", "%d_1-2##.dpx", {"%d_", 1, 2, 2, ".dpx", 2}, {{1, "2_%02i.dpx"}}},
};

// A name, and what is printed on the way to it: nothing, or why there is none.
void expectName(const std::optional<std::string>& expected,
                const std::function<std::optional<std::string>()>& nameOf) {
  std::optional<std::string> name;
  EXPECT_EQ(outputOf([&] { name = nameOf(); }), expected ? "" : kOutOfRange);
  EXPECT_EQ(name, expected);
}

class RVXFileSequenceTest : public testing::TestWithParam<Example> {};

}  // namespace

TEST_P(RVXFileSequenceTest, HasItsPartsAndNames) {
  const Example& expected = GetParam();
  std::optional<RVXFileSequence> sequence;
  EXPECT_EQ(outputOf([&] { sequence = RVXFileSequence::initWithIdentifier(expected.identifier); }), "");
  ASSERT_TRUE(sequence.has_value());
  EXPECT_EQ(sequence->prefix(), expected.parts.prefix);
  EXPECT_EQ(sequence->startFrame(), expected.parts.startFrame);
  EXPECT_EQ(sequence->endFrameInclusive(), expected.parts.endFrameInclusive);
  EXPECT_EQ(sequence->numberOfDigits(), expected.parts.numberOfDigits);
  EXPECT_EQ(sequence->postfix(), expected.parts.postfix);
  EXPECT_EQ(sequence->duration(), expected.parts.duration);
  for (const FrameName& frame : expected.names) {
    SCOPED_TRACE(frame.index);
    expectName(frame.name, [&] { return sequence->filenameForIndex(frame.index); });
    expectName(frame.name,
               [&] { return sequence->filenameForFrameNumber(expected.parts.startFrame + frame.index); });
  }
}

INSTANTIATE_TEST_SUITE_P(Identifiers, RVXFileSequenceTest, testing::ValuesIn(kExamples),
                         [](const auto& example) { return example.param.title; });

TEST(RVXFileSequenceRefusalTest, FrameInFrontOfTheFirst) {
  const auto sequence = RVXFileSequence::initWithIdentifier("clip_5-7##.dpx");
  expectName(std::nullopt, [&] { return sequence->filenameForFrameNumber(4); });
}

TEST(RVXFileSequenceRefusalTest, IdentifierWithoutAHash) {
  for (const char* identifier : {"clip.dpx", ""}) {
    std::optional<RVXFileSequence> sequence;
    EXPECT_EQ(outputOf([&] { sequence = RVXFileSequence::initWithIdentifier(identifier); }), kNoHashes);
    EXPECT_FALSE(sequence.has_value());
  }
}

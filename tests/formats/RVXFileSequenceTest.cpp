#include <gtest/gtest.h>

#include <limits>

#include "formats/RVXFileSequence.h"
#include "tests/support/OutputCapture.h"

namespace {

struct Parts {
  std::string prefix;
  uint64_t startFrame = 0;
  uint64_t endFrameInclusive = 0;
  int32_t numberOfDigits = 0;
  std::string postfix;
};

RVXFileSequence parsed(const std::string& identifier) {
  return RVXFileSequence::initWithIdentifier(identifier).value();
}

void expectParts(const RVXFileSequence& sequence, const Parts& expected) {
  EXPECT_EQ(sequence.prefix(), expected.prefix);
  EXPECT_EQ(sequence.startFrame(), expected.startFrame);
  EXPECT_EQ(sequence.endFrameInclusive(), expected.endFrameInclusive);
  EXPECT_EQ(sequence.numberOfDigits(), expected.numberOfDigits);
  EXPECT_EQ(sequence.postfix(), expected.postfix);
}

uint64_t signExtended(int32_t number) {
  return static_cast<uint64_t>(int64_t{number});
}

// What a frame outside the sequence gives.
struct Refusal {
  bool isNothing = false;
  std::string output;
};

Refusal refusalOfIndex(const RVXFileSequence& sequence, uint64_t index) {
  Refusal refusal;
  refusal.output = outputOf([&] { refusal.isNothing = !sequence.filenameForIndex(index).has_value(); });
  return refusal;
}

void expectOutOfRange(const RVXFileSequence& sequence, uint64_t index) {
  const Refusal refusal = refusalOfIndex(sequence, index);
  EXPECT_TRUE(refusal.isNothing) << index;
  EXPECT_EQ(refusal.output, "ERROR: framenumber not in range of sequence.\n") << index;
}

}  // namespace

TEST(RVXFileSequenceTest, PathPrefixAndFourDigits) {
  const auto sequence = parsed("/Volumes/Card/clip_1-100####.dpx");
  expectParts(sequence, {"/Volumes/Card/clip_", 1, 100, 4, ".dpx"});
  EXPECT_EQ(sequence.duration(), 100U);
  EXPECT_EQ(sequence.filenameForIndex(0), "/Volumes/Card/clip_0001.dpx");
  EXPECT_EQ(sequence.filenameForIndex(99), "/Volumes/Card/clip_0100.dpx");
}

TEST(RVXFileSequenceTest, PrefixEndsWithDot) {
  const auto sequence = parsed("A001C003.86400-86523#######.dpx");
  expectParts(sequence, {"A001C003.", 86400, 86523, 7, ".dpx"});
  EXPECT_EQ(sequence.duration(), 124U);
  EXPECT_EQ(sequence.filenameForIndex(0), "A001C003.0086400.dpx");
  EXPECT_EQ(sequence.filenameForIndex(123), "A001C003.0086523.dpx");
}

TEST(RVXFileSequenceTest, LeadingZerosOfTheRangeAreNoDigitCount) {
  const auto sequence = parsed("r1/shot_0009-0011##.exr");
  expectParts(sequence, {"r1/shot_", 9, 11, 2, ".exr"});
  EXPECT_EQ(sequence.filenameForIndex(0), "r1/shot_09.exr");
  EXPECT_EQ(sequence.filenameForIndex(1), "r1/shot_10.exr");
  EXPECT_EQ(sequence.filenameForIndex(2), "r1/shot_11.exr");
}

TEST(RVXFileSequenceTest, FrameNumbersWiderThanTheDigitCountAreWrittenInFull) {
  const auto sequence = parsed("frame1000-1002###.png");
  expectParts(sequence, {"frame", 1000, 1002, 3, ".png"});
  EXPECT_EQ(sequence.filenameForIndex(0), "frame1000.png");
  EXPECT_EQ(sequence.filenameForIndex(1), "frame1001.png");
  EXPECT_EQ(sequence.filenameForIndex(2), "frame1002.png");
}

TEST(RVXFileSequenceTest, NoRangeIsOneFrame) {
  const auto sequence = parsed("clip_100####.dpx");
  expectParts(sequence, {"clip_", 100, 100, 4, ".dpx"});
  EXPECT_EQ(sequence.duration(), 1U);
  EXPECT_EQ(sequence.filenameForIndex(0), "clip_0100.dpx");
}

TEST(RVXFileSequenceTest, SeveralHyphensAreAllRemoved) {
  const auto sequence = parsed("clip_1--20####.dpx");
  expectParts(sequence, {"clip_", 1, 20, 4, ".dpx"});
  EXPECT_EQ(sequence.filenameForIndex(0), "clip_0001.dpx");
  EXPECT_EQ(sequence.filenameForIndex(19), "clip_0020.dpx");
}

TEST(RVXFileSequenceTest, CharacterInFrontOfTheRunIsDropped) {
  const auto sequence = parsed("clip_1-100_####.dpx");
  expectParts(sequence, {"clip_", 1, 100, 4, ".dpx"});
  EXPECT_EQ(sequence.filenameForIndex(0), "clip_0001.dpx");
}

TEST(RVXFileSequenceTest, NoNumbersAreFrameZeroOnly) {
  const auto sequence = parsed("clip_####.dpx");
  expectParts(sequence, {"clip", 0, 0, 4, ".dpx"});
  EXPECT_EQ(sequence.duration(), 1U);
  EXPECT_EQ(sequence.filenameForIndex(0), "clip0000.dpx");
}

TEST(RVXFileSequenceTest, RunFromIndexOneHasNoDigitCount) {
  const auto sequence = parsed("x##.dpx");
  expectParts(sequence, {"x#", 0, 0, 0, ".dpx"});
  EXPECT_EQ(sequence.filenameForIndex(0), "x#0.dpx");
}

TEST(RVXFileSequenceTest, RunFromIndexZeroHasNoDigitCount) {
  const auto sequence = parsed("###.dpx");
  expectParts(sequence, {"##", 0, 0, 0, ".dpx"});
  EXPECT_EQ(sequence.filenameForIndex(0), "##0.dpx");
}

TEST(RVXFileSequenceTest, RunFromIndexTwoHasItsDigitCount) {
  const auto sequence = parsed("x1##.dpx");
  expectParts(sequence, {"x", 1, 1, 2, ".dpx"});
  EXPECT_EQ(sequence.filenameForIndex(0), "x01.dpx");
}

TEST(RVXFileSequenceTest, SingleHashAlone) {
  const auto sequence = parsed("#");
  expectParts(sequence, {"", 0, 0, 0, ""});
  EXPECT_EQ(sequence.filenameForIndex(0), "0");
}

TEST(RVXFileSequenceTest, NoHashIsRefused) {
  bool isNothing = false;
  const std::string output =
      outputOf([&] { isNothing = !RVXFileSequence::initWithIdentifier("clip.dpx").has_value(); });
  EXPECT_TRUE(isNothing);
  EXPECT_EQ(output, "ERROR: Wrong arguments - missing hashes in identifier.\n");
}

TEST(RVXFileSequenceTest, EmptyIdentifierIsRefused) {
  bool isNothing = false;
  const std::string output =
      outputOf([&] { isNothing = !RVXFileSequence::initWithIdentifier("").has_value(); });
  EXPECT_TRUE(isNothing);
  EXPECT_EQ(output, "ERROR: Wrong arguments - missing hashes in identifier.\n");
}

TEST(RVXFileSequenceTest, GoodIdentifierPrintsNothing) {
  std::optional<std::string> name;
  EXPECT_EQ(outputOf([&] { name = parsed("clip_1-3####.dpx").filenameForIndex(2); }), "");
  EXPECT_EQ(name, "clip_0003.dpx");
}

TEST(RVXFileSequenceTest, StartBehindEndWrapsAndPutsEveryFrameOutOfRange) {
  const auto sequence = parsed("clip_7-3####.tif");
  expectParts(sequence, {"clip_", 7, 3, 4, ".tif"});
  EXPECT_EQ(sequence.duration(), std::numeric_limits<uint64_t>::max() - 2);  // 3 + 1 - 7
  for (const uint64_t index : {uint64_t{0}, uint64_t{1}, signExtended(-4), signExtended(-7)}) {
    expectOutOfRange(sequence, index);
  }
}

TEST(RVXFileSequenceTest, StartOneBehindEndHasNoFrames) {
  const auto sequence = parsed("clip_4-3####.tif");
  EXPECT_EQ(sequence.duration(), 0U);
  expectOutOfRange(sequence, 0);
}

TEST(RVXFileSequenceTest, NegativeStartIsHugeAndPutsEveryFrameOutOfRange) {
  const auto sequence = parsed("a-5####");
  expectParts(sequence, {"a", signExtended(-5), 5, 4, ""});
  EXPECT_EQ(sequence.duration(), 11U);
  for (uint64_t index = 0; index <= 11; ++index) expectOutOfRange(sequence, index);
}

TEST(RVXFileSequenceTest, HashInTheSuffixBecomesTheRun) {
  const auto sequence = parsed("clip_1-100####.dp#x");
  expectParts(sequence, {"clip_1-100####.d", 0, 0, 1, "x"});
  EXPECT_EQ(sequence.filenameForIndex(0), "clip_1-100####.d0x");
}

TEST(RVXFileSequenceTest, FrameNumbersAboveTheLimitAreTheLimit) {
  const auto sequence = parsed("clip_2147483648-99999999999999999999####.dpx");
  expectParts(sequence, {"clip_", 2147483647, 2147483647, 4, ".dpx"});
  EXPECT_EQ(sequence.filenameForIndex(0), "clip_2147483647.dpx");
}

TEST(RVXFileSequenceTest, LargestFrameNumber) {
  const auto sequence = parsed("clip_2147483646-2147483647####.dpx");
  EXPECT_EQ(sequence.duration(), 2U);
  EXPECT_EQ(sequence.filenameForIndex(1), "clip_2147483647.dpx");
  expectOutOfRange(sequence, 2);
}

TEST(RVXFileSequenceTest, NumbersBelowTheLowerLimitAreTheLimit) {
  EXPECT_EQ(parsed("a-99999999999####").startFrame(), signExtended(std::numeric_limits<int32_t>::min()));
}

TEST(RVXFileSequenceTest, EndFrameIsIncludedAndTheNextIsNot) {
  const auto sequence = parsed("clip_5-7##.dpx");
  EXPECT_EQ(sequence.filenameForIndex(2), "clip_07.dpx");
  expectOutOfRange(sequence, 3);
}

TEST(RVXFileSequenceTest, FrameNumbersAreTestedAgainstBothEnds) {
  const auto sequence = parsed("clip_5-7##.dpx");
  EXPECT_EQ(sequence.filenameForFrameNumber(5), "clip_05.dpx");
  EXPECT_EQ(sequence.filenameForFrameNumber(7), "clip_07.dpx");
  for (const uint64_t outside : {uint64_t{4}, uint64_t{8}}) {
    std::optional<std::string> name;
    const std::string output = outputOf([&] { name = sequence.filenameForFrameNumber(outside); });
    EXPECT_FALSE(name.has_value()) << outside;
    EXPECT_EQ(output, "ERROR: framenumber not in range of sequence.\n") << outside;
  }
}

TEST(RVXFileSequenceTest, OnlyTheLastRunCounts) {
  expectParts(parsed("##_1-2###.dpx"), {"##_", 1, 2, 3, ".dpx"});
}

TEST(RVXFileSequenceTest, HyphenAtTheStartHasNoPrefix) {
  const auto sequence = parsed("1-12##");
  expectParts(sequence, {"", 1, 12, 2, ""});
  EXPECT_EQ(sequence.filenameForIndex(11), "12");
}

TEST(RVXFileSequenceTest, DigitsOfOtherScriptsAreDigits) {
  // ARABIC-INDIC DIGIT ONE and THREE
  const auto sequence = parsed("clip_\u0661-\u0663##.dpx");
  expectParts(sequence, {"clip_", 1, 3, 2, ".dpx"});
  EXPECT_EQ(sequence.filenameForIndex(2), "clip_03.dpx");
}

TEST(RVXFileSequenceTest, CharactersAreCountedAndNotBytes) {
  const auto sequence = parsed("aufn\u00E4hme_1-3\u00E9##\u00FC.dpx");
  expectParts(sequence, {"aufn\u00E4hme_", 1, 3, 2, "\u00FC.dpx"});
  EXPECT_EQ(sequence.filenameForIndex(0), "aufn\u00E4hme_01\u00FC.dpx");
}

TEST(RVXFileSequenceTest, BytesThatAreNoTextStayAsTheyAre) {
  const auto sequence = parsed("cl\xFFip_1-3##\xC3.dpx");
  EXPECT_EQ(sequence.filenameForIndex(0), "cl\xFFip_01\xC3.dpx");
}

TEST(RVXFileSequenceTest, MoreDigitsThanAPathIsLong) {
  const auto sequence = parsed("a1-2" + std::string(5000, '#'));
  EXPECT_EQ(sequence.numberOfDigits(), 5000);
  EXPECT_EQ(sequence.filenameForIndex(1), "a" + std::string(4999, '0') + "2");
}

TEST(RVXFileSequenceTest, PercentInThePrefixReadsAndWritesNoMemory) {
  const auto sequence = parsed("%s%n%999999999d%*d_1-2##.dpx");
  EXPECT_EQ(sequence.filenameForIndex(1), "%s%n%999999999d%*d_02.dpx");
}

TEST(RVXFileSequenceTest, PercentInTheSuffixReadsAndWritesNoMemory) {
  const auto sequence = parsed("clip_1-2##%s%n%d%999999999d.dpx");
  EXPECT_EQ(sequence.filenameForIndex(0), "clip_01%s%n%d%999999999d.dpx");
}

TEST(RVXFileSequenceTest, ConversionInThePrefixTakesTheNumber) {
  EXPECT_EQ(parsed("%d_1-2##.dpx").filenameForIndex(1), "2_%02i.dpx");
}

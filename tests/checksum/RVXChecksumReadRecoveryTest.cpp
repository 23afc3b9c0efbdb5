#include <gtest/gtest.h>

#include "checksum/RVXChecksumReadRecovery.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/OutputCapture.h"

namespace {

const RVXIOFailure kFailure{5, "EIO", "Input/output error"};

}  // namespace

TEST(RVXChecksumReadRecoveryTest, FirstFailurePrintsTwoLines) {
  EXPECT_EQ(outputOf([] { RVXChecksumReadRecovery("/d1/clip.mov").readFailed(kFailure, 8388608); }),
            "ERROR: unexpected EIO during read: Input/output error at position:8388608\n"
            "ERROR: failed reading from /d1/clip.mov\n");
}

TEST(RVXChecksumReadRecoveryTest, PositionBeyondFourGibibytes) {
  EXPECT_EQ(outputOf([] { RVXChecksumReadRecovery("a").readFailed(kFailure, 9'000'000'000); }),
            "ERROR: unexpected EIO during read: Input/output error at position:9000000000\n"
            "ERROR: failed reading from a\n");
}

TEST(RVXChecksumReadRecoveryTest, SecondFailureEndsWith109AndTheFirstFailuresWords) {
  const ChildEnd end = runInChild([] { RVXChecksumReadRecovery("/d1/clip.mov").readFailedAgain(kFailure); });
  EXPECT_EQ(end.status, 109);
  EXPECT_EQ(end.output,
            "ERROR: again unexpected EIO during read: Input/output error\n"
            "ERROR: again failed reading from /d1/clip.mov\n");
}

TEST(RVXChecksumReadRecoveryTest, FailedReopeningPrintsNothingAndGoesOn) {
  EXPECT_EQ(outputOf([] { RVXChecksumReadRecovery("/d1/clip.mov").reopenFailed(); }), "");
}

TEST(RVXChecksumReadRecoveryTest, PathThatIsNotASCIIIsPrintedAsNull) {
  EXPECT_EQ(outputOf([] { RVXChecksumReadRecovery("/d1/\u00E4.mov").readFailed(kFailure, 0); }),
            "ERROR: unexpected EIO during read: Input/output error at position:0\n"
            "ERROR: failed reading from (null)\n");
}

TEST(RVXChecksumReadRecoveryTest, NameAndReasonThatAreNotASCIIArePrintedAsNull) {
  const RVXIOFailure failure{5, "\u00C9IO", "\u00C4rger"};
  EXPECT_EQ(outputOf([&] { RVXChecksumReadRecovery("a").readFailed(failure, 0); }),
            "ERROR: unexpected (null) during read: (null) at position:0\nERROR: failed reading from a\n");
}

TEST(RVXChecksumReadRecoveryTest, SecondFailureIsPrintedAsASCIIAsWell) {
  const RVXIOFailure failure{5, "\u00C9IO", "\u00C4rger"};
  EXPECT_EQ(runInChild([&] { RVXChecksumReadRecovery("\xFF").readFailedAgain(failure); }).output,
            "ERROR: again unexpected (null) during read: (null)\nERROR: again failed reading from (null)\n");
}

TEST(RVXChecksumReadRecoveryTest, PercentInThePathIsPrintedAsItIs) {
  EXPECT_EQ(outputOf([] { RVXChecksumReadRecovery("/%s%n").readFailed(kFailure, 0); }),
            "ERROR: unexpected EIO during read: Input/output error at position:0\n"
            "ERROR: failed reading from /%s%n\n");
}

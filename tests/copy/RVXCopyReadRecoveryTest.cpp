#include <gtest/gtest.h>

#include "copy/RVXCopyReadRecovery.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Text.h"

namespace {

const RVXIOFailure kFailure{5, "EIO", "Input/output error"};

std::vector<std::string> linesOnFailure(const std::string& path, int64_t position) {
  return linesOf(outputOf([&] { RVXCopyReadRecovery(path).readFailed(kFailure, position); }));
}

}  // namespace

TEST(RVXCopyReadRecoveryTest, FailureOfAFileThatExists) {
  const TemporaryFolder folder;
  const std::string path = writeFile(folder.path("clip.mov"), "x");
  const auto lines = linesOnFailure(path, 4194304);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], "ERROR: unexpected EIO during read: Input/output error of file: " + path +
                          " at position:4194304");
  EXPECT_TRUE(lines[1].starts_with("INFO: file exists:1 volumes: (")) << lines[1];
  EXPECT_TRUE(lines[1].ends_with(")")) << lines[1];
}

TEST(RVXCopyReadRecoveryTest, FailureOfAFileThatIsGone) {
  const auto lines = linesOnFailure("/nothing/here%s%n", 9'000'000'000);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0],
            "ERROR: unexpected EIO during read: Input/output error of file: /nothing/here%s%n at "
            "position:9000000000");
  EXPECT_TRUE(lines[1].starts_with("INFO: file exists:0 volumes: (")) << lines[1];
}

TEST(RVXCopyReadRecoveryTest, VolumesStandInOneLine) {
  if (!OtherRoot::isAllowed()) GTEST_SKIP() << "to change the root folder needs root";
  const OtherRoot root;
  const auto volumesLine = [&] {
    return linesOf(root.outputOf([] { RVXCopyReadRecovery("clip.mov").readFailed(kFailure, 0); })).at(1);
  };
  EXPECT_EQ(volumesLine(), "INFO: file exists:0 volumes: ()");
  root.makeFolder("/Volumes/CARD");
  root.makeFolder("/Volumes/RAID");
  EXPECT_EQ(volumesLine(), "INFO: file exists:0 volumes: (CARD, RAID)");
}

TEST(RVXCopyReadRecoveryTest, FailedReopeningEndsWith220) {
  const ChildEnd end = runInChild([] { RVXCopyReadRecovery("/gone/clip.mov").reopenFailed(); });
  EXPECT_EQ(end.status, 220);
  EXPECT_EQ(end.output, "ERROR: could not reopen file handle for path: /gone/clip.mov\n");
}

TEST(RVXCopyReadRecoveryTest, SecondFailureEndsWith220AndTheFirstFailuresWords) {
  const ChildEnd end = runInChild([] { RVXCopyReadRecovery("clip.mov").readFailedAgain(kFailure); });
  EXPECT_EQ(end.status, 220);
  EXPECT_EQ(end.output,
            "ERROR: again unexpected EIO during read: Input/output error userInfo: {errno = 5}\n");
}

#include <gtest/gtest.h>

#include <cerrno>

#include "copy/RVXWriteFailure.h"
#include "tests/support/ChildProcess.h"

namespace {

ChildEnd endOn(const RVXIOFailure& failure, const std::string& folder) {
  return runInChild([&] { endProcessOnWriteFailure(failure, folder); });
}

}  // namespace

TEST(RVXWriteFailureTest, FullDiskEndsWith212) {
  const ChildEnd end = endOn(failureFromErrno(ENOSPC), "/d1/");
  EXPECT_EQ(end.status, 212);
  EXPECT_EQ(end.output,
            "ERROR: unexpected ENOSPC during write: No space left on device\n"
            "ERROR: failed writing to /d1/\n");
}

TEST(RVXWriteFailureTest, ReasonThatContainsNoSpaceLeftEndsWith212) {
  EXPECT_EQ(endOn({5, "EIO", "Sorry: No space left here"}, "/d1").status, 212);
}

TEST(RVXWriteFailureTest, NoSpaceLeftIsComparedExactly) {
  EXPECT_EQ(endOn({5, "EIO", "no space left on device"}, "/d1").status, 211);
}

TEST(RVXWriteFailureTest, OtherFailuresEndWith211) {
  const ChildEnd end = endOn(failureFromErrno(EIO), "/d2");
  EXPECT_EQ(end.status, 211);
  EXPECT_EQ(end.output,
            "ERROR: unexpected EIO during write: Input/output error\n"
            "ERROR: failed writing to /d2\n");
}

TEST(RVXWriteFailureTest, ExceededQuotaIsNoFullDisk) {
  EXPECT_EQ(endOn(failureFromErrno(EDQUOT), "/d2").status, 211);
}

TEST(RVXWriteFailureTest, PercentInTheFolderIsPrintedAsItIs) {
  EXPECT_EQ(endOn({1, "N%s", "R%n"}, "/%d%s%n").output,
            "ERROR: unexpected N%s during write: R%n\nERROR: failed writing to /%d%s%n\n");
}

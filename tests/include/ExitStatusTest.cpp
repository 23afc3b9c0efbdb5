#include <gtest/gtest.h>

#include "include/ExitStatus.h"

namespace {

int number(ExitStatus status) {
  return static_cast<int>(status);
}

}  // namespace

// Drivers depend on each of these numbers.

TEST(ExitStatusTest, FrontEnd) {
  EXPECT_EQ(number(ExitStatus::finished), 0);
  EXPECT_EQ(number(ExitStatus::tooFewArguments), 100);
  EXPECT_EQ(number(ExitStatus::destinationFolderNotCreated), 101);
  EXPECT_EQ(number(ExitStatus::sourceArgumentMissing), 102);
  EXPECT_EQ(number(ExitStatus::destinationArgumentMissing), 103);
  EXPECT_EQ(number(ExitStatus::sourceNotAFile), 104);
  EXPECT_EQ(number(ExitStatus::depthWrong), 106);
  EXPECT_EQ(number(ExitStatus::hashTypeWrong), 108);
  EXPECT_EQ(number(ExitStatus::sequenceIdentifierWrong), 113);
}

TEST(ExitStatusTest, OneNumberForThreeCauses) {
  EXPECT_EQ(number(ExitStatus::writeHashListValueMissing), 109);
  EXPECT_EQ(number(ExitStatus::wrongHash), 109);
  EXPECT_EQ(number(ExitStatus::verifyReadFailed), 109);
}

TEST(ExitStatusTest, Copy) {
  EXPECT_EQ(number(ExitStatus::destinationFileExists), 107);
  EXPECT_EQ(number(ExitStatus::sourceNotOpened), 200);
  EXPECT_EQ(number(ExitStatus::destinationNotOpened), 201);
  EXPECT_EQ(number(ExitStatus::writeFailed), 211);
  EXPECT_EQ(number(ExitStatus::noSpaceLeft), 212);
  EXPECT_EQ(number(ExitStatus::readFailed), 220);
}

TEST(ExitStatusTest, HashListsAndSkippedVerification) {
  EXPECT_EQ(number(ExitStatus::hashFolderNotCreated), 114);
  EXPECT_EQ(number(ExitStatus::hashListNotWritten), 115);
  EXPECT_EQ(number(ExitStatus::destinationFileMissing), 116);
}

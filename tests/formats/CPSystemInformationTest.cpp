#include <gtest/gtest.h>

#include "formats/CPSystemInformation.h"
#include "tests/support/Tools.h"

TEST(CPSystemInformationTest, ComputerNameIsTheOneThatTheSystemTells) {
  EXPECT_EQ(CPSystemInformation::computerName(), toolComputerName());
}

#include <gtest/gtest.h>

#include "frontend/UsageText.h"
#include "tests/frontend/ExpectedUsage.h"
#include "tests/support/OutputCapture.h"

TEST(UsageTextTest, Usage) {
  EXPECT_EQ(outputOf(printUsage), kExpectedUsage);
}

TEST(UsageTextTest, ProgramHeaderNamesTheProgramAndWhatItIs) {
  const std::string output = outputOf(printProgramHeader);
  const std::string beginning = "rvxcopy\nSecure Copy and Verify of movies and image sequences";
  EXPECT_EQ(output.substr(0, beginning.size()), beginning);
}

TEST(UsageTextTest, ProgramHeaderEndsWithAnEmptyLine) {
  const std::string output = outputOf(printProgramHeader);
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 3);
  EXPECT_TRUE(output.ends_with("\n\n"));
}

#include <gtest/gtest.h>

#include "frontend/TUDefaultLogAppenders.h"
#include "tests/support/Files.h"

TEST(TUDefaultLogAppendersTest, OneAppenderOfLevelOneInTheNameOfTheProcess) {
  const std::string command = readFile("/proc/self/cmdline").c_str();  // up to the first argument's end
  const auto appenders = TUDefaultLogAppenders::defaultLogAppenders();
  ASSERT_EQ(appenders.size(), 1U);
  EXPECT_EQ(appenders[0].logLevel, 1);
  EXPECT_EQ(appenders[0].applicationName, command.substr(command.rfind('/') + 1));
}

#include <gtest/gtest.h>

#include "frontend/TUDefaultLogAppenders.h"
#include "tests/support/Files.h"

namespace {

// The last component of the command that this process was started with.
std::string runningProcessName() {
  const std::string command = readFile("/proc/self/cmdline").c_str();  // up to the first argument's end
  return command.substr(command.rfind('/') + 1);
}

}  // namespace

TEST(TUDefaultLogAppendersTest, OneAppenderOfLevelOneInTheNameOfTheProcess) {
  const auto appenders = TUDefaultLogAppenders::defaultLogAppenders();
  ASSERT_EQ(appenders.size(), 1U);
  EXPECT_EQ(appenders[0].logLevel, 1);
  EXPECT_EQ(appenders[0].applicationName, runningProcessName());
}

TEST(TUDefaultLogAppendersTest, EveryCallGivesANewListThatCanGrow) {
  auto appenders = TUDefaultLogAppenders::defaultLogAppenders();
  appenders.push_back(TUASLCSVAppender::initWithLogLevel(3, "other"));
  EXPECT_EQ(appenders[1].logLevel, 3);
  EXPECT_EQ(appenders[1].applicationName, "other");
  EXPECT_EQ(TUDefaultLogAppenders::defaultLogAppenders().size(), 1U);
}

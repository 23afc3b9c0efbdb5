#include <gtest/gtest.h>

#include "copy/WriteFailure.h"

// The lines, and the statuses of what a disk really says, are shown by runs. (Named so that it is run
// before others start threads.)
TEST(WriteFailureDeathTest, ReasonThatContainsNoSpaceLeftInTheseLettersEndsWith212) {
  const auto endOn = [](const char* reason) { endProcessOnWriteFailure({5, "EIO", reason}, "/d1"); };
  EXPECT_EXIT(endOn("Sorry: No space left here"), testing::ExitedWithCode(212), "");
  EXPECT_EXIT(endOn("no space left on device"), testing::ExitedWithCode(211), "");
}

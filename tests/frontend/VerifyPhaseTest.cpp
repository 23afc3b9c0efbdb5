#include <gtest/gtest.h>

#include "frontend/VerifyPhase.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"

// No run has such a list: what is not entered, or under another label, is never taken as verified.
TEST(VerifyPhaseTest, ListWithoutTheSourcesDigestIsAWrongHash) {
  const std::string digest = "a9993e364706816aba3e25717850c26c9cd0d89d";  // of "abc": FIPS 180
  const TemporaryFolder folder;
  CopyJobOptions options;
  options.sourceArgument = writeFile(folder.path("clip.mov"), "abc");
  CopyPlan plan;
  plan.fileCount = 1;
  RVXHashList wrongLabel = RVXHashList::init();
  wrongLabel.addHash(digest, "MD5", "../clip.mov");
  for (const auto& [list, expected] :
       {std::pair{RVXHashList::init(), std::string()}, std::pair{wrongLabel, "MD5:" + digest}}) {
    const ChildEnd end = runInChild([&, &list = list] { runVerifyPhase(options, plan, list); });
    EXPECT_EQ(end.status, 109);
    EXPECT_EQ(end.output, "INFO: expected hash: " + expected + " but got hash: " + digest +
                              ".\nERROR: verify of source file #1 (" + options.sourceArgument +
                              ") failed, wrong hash.\n");
  }
}

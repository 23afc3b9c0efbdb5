#include <gtest/gtest.h>

#include <filesystem>

#include "checksum/RVXVerifyOperation.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Tools.h"

namespace {

// Of "abc": FIPS 180 and RFC 1321.
const std::string kSHA1 = "a9993e364706816aba3e25717850c26c9cd0d89d";
const std::string kMD5 = "900150983cd24fb0d6963f7d28e17f72";

std::string mismatch(const std::string& expected, const std::string& computed) {
  return "INFO: expected hash: " + expected + " but got hash: " + computed + ".\n";
}

class RVXVerifyOperationTest : public testing::Test {
 protected:
  // Verifies the file, which must fail or succeed with that output.
  void expectVerified(const std::string& hash, bool isFailed, const std::string& output,
                      HashAlgorithm algorithm = HashAlgorithm::SHA1) const {
    const auto operation = RVXVerifyOperation::initWithPath(mFile, hash, algorithm, false);
    EXPECT_EQ(outputOf([&] { operation->main(); }), output);
    EXPECT_EQ(operation->isFailed(), isFailed);
  }

  TemporaryFolder mFolder;
  std::string mFile = writeFile(mFolder.path("clip.mov"), "abc");
};

}  // namespace

TEST_F(RVXVerifyOperationTest, NewOperationHasNotFailed) {
  EXPECT_FALSE(RVXVerifyOperation::init()->isFailed());
  EXPECT_FALSE(RVXVerifyOperation::initWithPath(mFile, "x", HashAlgorithm::SHA1, true)->isFailed());
}

TEST_F(RVXVerifyOperationTest, InitHasNoChecksumOperation) {
  EXPECT_EQ(RVXVerifyOperation::init()->generateChecksumOperation(), nullptr);
}

TEST_F(RVXVerifyOperationTest, ChecksumOperationHasPathAndVerboseFlag) {
  for (const bool verbose : {true, false}) {
    const auto operation = RVXVerifyOperation::initWithPath("/a", "x", HashAlgorithm::MD5, verbose);
    EXPECT_EQ(operation->generateChecksumOperation()->path(), "/a");
    EXPECT_EQ(operation->generateChecksumOperation()->verbose(), verbose);
  }
}

TEST_F(RVXVerifyOperationTest, ChecksumOperationCanBeReplaced) {
  const auto operation = RVXVerifyOperation::initWithPath("/nowhere", kSHA1, HashAlgorithm::SHA1, false);
  operation->setGenerateChecksumOperation(
      RVXGenerateChecksumOperation::initWithPath(mFile, HashAlgorithm::SHA1, false));
  operation->main();
  EXPECT_FALSE(operation->isFailed());
}

TEST_F(RVXVerifyOperationTest, EqualDigestsSucceedAndPrintNothing) {
  expectVerified(kSHA1, false, "");
}

TEST_F(RVXVerifyOperationTest, EqualMD5DigestsSucceed) {
  expectVerified(kMD5, false, "", HashAlgorithm::MD5);
}

TEST_F(RVXVerifyOperationTest, OtherDigestFails) {
  const std::string other(40, '0');
  expectVerified(other, true, mismatch(other, kSHA1));
}

TEST_F(RVXVerifyOperationTest, DigestOfTheOtherAlgorithmFails) {
  expectVerified(kMD5, true, mismatch(kMD5, kSHA1));
}

TEST_F(RVXVerifyOperationTest, UpperCaseDigestFailsAndTheLineShowsBothForms) {
  const std::string upper = "A9993E364706816ABA3E25717850C26C9CD0D89D";
  expectVerified(upper, true, mismatch(upper, kSHA1));
}

TEST_F(RVXVerifyOperationTest, StrayBlanksFail) {
  expectVerified(" " + kSHA1, true, mismatch(" " + kSHA1, kSHA1));
  expectVerified(kSHA1 + " ", true, mismatch(kSHA1 + " ", kSHA1));
}

TEST_F(RVXVerifyOperationTest, DigestThatOnlyBeginsEquallyFails) {
  expectVerified(kSHA1.substr(1), true, mismatch(kSHA1.substr(1), kSHA1));
  expectVerified("", true, mismatch("", kSHA1));
}

TEST_F(RVXVerifyOperationTest, RemovedFileFailsWithTheErrorAndANullDigest) {
  std::filesystem::remove(mFile);
  const auto operation = RVXVerifyOperation::initWithPath(mFile, kSHA1, HashAlgorithm::SHA1, false);
  EXPECT_EQ(outputOf([&] { operation->main(); }), mismatch(kSHA1, "(null)"));
  EXPECT_TRUE(operation->isFailed());
  ASSERT_TRUE(operation->error().has_value());
  EXPECT_EQ(operation->error()->domain, "rvxverify");
  EXPECT_EQ(operation->error()->code, 200);
  EXPECT_EQ(operation->error()->description, "can't open source file");
}

TEST_F(RVXVerifyOperationTest, MissingDigestNeverMatchesEvenAnEmptyText) {
  std::filesystem::remove(mFile);
  expectVerified("", true, mismatch("", "(null)"));
  expectVerified("(null)", true, mismatch("(null)", "(null)"));
}

TEST_F(RVXVerifyOperationTest, SuccessHasNoError) {
  const auto operation = RVXVerifyOperation::initWithPath(mFile, kSHA1, HashAlgorithm::SHA1, false);
  operation->main();
  EXPECT_FALSE(operation->error().has_value());
}

TEST_F(RVXVerifyOperationTest, WrongDigestHasNoError) {
  const auto operation = RVXVerifyOperation::initWithPath(mFile, "0", HashAlgorithm::SHA1, false);
  outputOf([&] { operation->main(); });
  EXPECT_TRUE(operation->isFailed());
  EXPECT_FALSE(operation->error().has_value());
}

TEST_F(RVXVerifyOperationTest, LinkIsVerifiedByItsTargetText) {
  std::filesystem::remove(mFile);
  std::filesystem::create_symlink("some/where", mFile);
  expectVerified(toolSHA1OfText("some/where"), false, "");
  expectVerified(toolMD5OfText("some/where"), false, "", HashAlgorithm::MD5);
}

TEST_F(RVXVerifyOperationTest, VerbosePrintsTheProgressOfTheChecksum) {
  const auto operation = RVXVerifyOperation::initWithPath(mFile, kSHA1, HashAlgorithm::SHA1, true);
  operation->generateChecksumOperation()->setAllFilesSize(10);
  operation->generateChecksumOperation()->setSizeOfAllFilesProcessed(5);
  EXPECT_EQ(outputOf([&] { operation->main(); }),
            "INFO: verified 8 of 10 bytes of path " + mFolder.path() + "\n");
}

TEST_F(RVXVerifyOperationTest, FileSizeIsThatOfTheChecksumOperation) {
  const auto operation = RVXVerifyOperation::initWithPath(mFile, kSHA1, HashAlgorithm::SHA1, false);
  operation->main();
  EXPECT_EQ(operation->generateChecksumOperation()->fileSize(), 3);
}

TEST_F(RVXVerifyOperationTest, ReadThatFailsTwiceEndsWith109BeforeAnythingIsCompared) {
  const std::string folder = mFolder.folder("folder");
  const ChildEnd end = runInChild(
      [&] { RVXVerifyOperation::initWithPath(folder, kSHA1, HashAlgorithm::SHA1, false)->main(); });
  EXPECT_EQ(end.status, 109);
  EXPECT_EQ(end.output.find("INFO:"), std::string::npos) << end.output;
}

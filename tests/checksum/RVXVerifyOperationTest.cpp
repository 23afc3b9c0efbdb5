#include <gtest/gtest.h>

#include <filesystem>

#include "checksum/RVXVerifyOperation.h"
#include "tests/support/Files.h"
#include "tests/support/OutputCapture.h"

namespace {

// Of "abc": FIPS 180 and RFC 1321.
const std::string kSHA1 = "a9993e364706816aba3e25717850c26c9cd0d89d";
const std::string kMD5 = "900150983cd24fb0d6963f7d28e17f72";

std::string mismatch(const std::string& expected, const std::string& computed) {
  return "INFO: expected hash: " + expected + " but got hash: " + computed + ".\n";
}

class RVXVerifyOperationTest : public testing::Test {
 protected:
  TemporaryFolder mFolder;
  std::string mFile = writeFile(mFolder.path("clip.mov"), "abc");
};

}  // namespace

TEST_F(RVXVerifyOperationTest, OnlyTheVeryDigestSucceeds) {
  const std::string upper = "A9993E364706816ABA3E25717850C26C9CD0D89D";
  struct {
    std::string hash;
    HashAlgorithm algorithm;
    std::string output;  // empty where it succeeds
  } const rows[] = {{kSHA1, HashAlgorithm::SHA1, ""},
                    {kMD5, HashAlgorithm::MD5, ""},
                    {kMD5, HashAlgorithm::SHA1, mismatch(kMD5, kSHA1)},
                    {upper, HashAlgorithm::SHA1, mismatch(upper, kSHA1)},
                    {" " + kSHA1, HashAlgorithm::SHA1, mismatch(" " + kSHA1, kSHA1)},
                    {kSHA1 + " ", HashAlgorithm::SHA1, mismatch(kSHA1 + " ", kSHA1)},
                    {kSHA1.substr(1), HashAlgorithm::SHA1, mismatch(kSHA1.substr(1), kSHA1)},
                    {"", HashAlgorithm::SHA1, mismatch("", kSHA1)}};
  for (const auto& row : rows) {
    const auto operation = RVXVerifyOperation::initWithPath(mFile, row.hash, row.algorithm, false);
    EXPECT_FALSE(operation->isFailed());
    EXPECT_EQ(outputOf([&] { operation->main(); }), row.output);
    EXPECT_EQ(operation->isFailed(), !row.output.empty()) << row.hash;
    EXPECT_FALSE(operation->error().has_value());
  }
}

TEST_F(RVXVerifyOperationTest, RemovedFileFailsWhateverIsExpected) {
  std::filesystem::remove(mFile);
  for (const std::string& hash : {kSHA1, std::string(), std::string("(null)")}) {
    const auto operation = RVXVerifyOperation::initWithPath(mFile, hash, HashAlgorithm::SHA1, false);
    EXPECT_EQ(outputOf([&] { operation->main(); }), mismatch(hash, "(null)"));
    EXPECT_TRUE(operation->isFailed());
    ASSERT_TRUE(operation->error().has_value());
    EXPECT_EQ(operation->error()->code, 200);
  }
}

TEST_F(RVXVerifyOperationTest, ChecksumOperationIsOfItsPathAndCanBeReplaced) {
  EXPECT_EQ(RVXVerifyOperation::init()->generateChecksumOperation(), nullptr);
  const auto operation = RVXVerifyOperation::initWithPath("/nowhere", kSHA1, HashAlgorithm::SHA1, true);
  EXPECT_EQ(operation->generateChecksumOperation()->path(), "/nowhere");
  EXPECT_TRUE(operation->generateChecksumOperation()->verbose());
  operation->setGenerateChecksumOperation(
      RVXGenerateChecksumOperation::initWithPath(mFile, HashAlgorithm::SHA1, false));
  EXPECT_EQ(outputOf([&] { operation->main(); }), "");
  EXPECT_FALSE(operation->isFailed());
}

#include <gtest/gtest.h>

#include <limits>

#include "include/HashAlgorithm.h"

namespace {

constexpr auto kOthers = {2, -1, 100, std::numeric_limits<int32_t>::max()};

}  // namespace

TEST(HashAlgorithmTest, Codes) {
  EXPECT_EQ(static_cast<int32_t>(HashAlgorithm::SHA1), 0);
  EXPECT_EQ(static_cast<int32_t>(HashAlgorithm::MD5), 1);
}

TEST(HashAlgorithmTest, Labels) {
  EXPECT_EQ(hashAlgorithmLabel(HashAlgorithm::SHA1), "SHA1");
  EXPECT_EQ(hashAlgorithmLabel(HashAlgorithm::MD5), "MD5");
  EXPECT_EQ(lowerCaseHashAlgorithmLabel(HashAlgorithm::SHA1), "sha1");
  EXPECT_EQ(lowerCaseHashAlgorithmLabel(HashAlgorithm::MD5), "md5");
}

TEST(HashAlgorithmTest, OtherCodesHaveTheLabelOfSHA1) {
  for (const int32_t code : kOthers) {
    EXPECT_EQ(hashAlgorithmLabel(static_cast<HashAlgorithm>(code)), "SHA1");
    EXPECT_EQ(lowerCaseHashAlgorithmLabel(static_cast<HashAlgorithm>(code)), "sha1");
  }
}

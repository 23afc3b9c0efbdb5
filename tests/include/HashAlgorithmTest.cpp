#include <gtest/gtest.h>

#include <limits>

#include "include/HashAlgorithm.h"

TEST(HashAlgorithmTest, EveryCodeButOneIsSHA1) {
  EXPECT_EQ(hashAlgorithmLabel(static_cast<HashAlgorithm>(1)), "MD5");
  EXPECT_EQ(lowerCaseHashAlgorithmLabel(static_cast<HashAlgorithm>(1)), "md5");
  for (const int32_t code : {0, 2, -1, 100, std::numeric_limits<int32_t>::max()}) {
    EXPECT_EQ(hashAlgorithmLabel(static_cast<HashAlgorithm>(code)), "SHA1");
    EXPECT_EQ(lowerCaseHashAlgorithmLabel(static_cast<HashAlgorithm>(code)), "sha1");
  }
}

#include <gtest/gtest.h>

#include <cerrno>

#include "platform/files/RVXIOFailure.h"

TEST(RVXIOFailureTest, TellsNumberNameAndReason) {
  const RVXIOFailure full = failureFromErrno(ENOSPC);
  EXPECT_EQ(full.code, ENOSPC);
  EXPECT_EQ(full.name, "ENOSPC");
  EXPECT_EQ(full.reason, "No space left on device");
  EXPECT_EQ(full.details(), "{errno = 28}");
  EXPECT_EQ(failureFromErrno(3999).name, "3999");  // which has none
}

TEST(RVXIOFailureTest, AnswersThatMeanNotSupported) {
  for (const int code : {EINVAL, ENOTSUP, EOPNOTSUPP, ENOSYS})
    EXPECT_TRUE(failureFromErrno(code).meansNotSupported());
  for (const int code : {EIO, ENOSPC, EBADF, EDQUOT, EINTR, EACCES, EROFS, EISDIR})
    EXPECT_FALSE(failureFromErrno(code).meansNotSupported());
}

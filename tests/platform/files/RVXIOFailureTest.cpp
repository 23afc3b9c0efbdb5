#include <gtest/gtest.h>

#include <cerrno>

#include "platform/files/RVXIOFailure.h"

TEST(RVXIOFailureTest, NameAndReason) {
  const RVXIOFailure full = failureFromErrno(ENOSPC);
  EXPECT_EQ(full.code, ENOSPC);
  EXPECT_EQ(full.name, "ENOSPC");
  EXPECT_EQ(full.reason, "No space left on device");
  EXPECT_EQ(failureFromErrno(EIO).name, "EIO");
  EXPECT_EQ(failureFromErrno(EIO).reason, "Input/output error");
}

TEST(RVXIOFailureTest, TakesErrno) {
  errno = EACCES;
  const RVXIOFailure failure = failureFromErrno();
  EXPECT_EQ(failure.code, EACCES);
  EXPECT_EQ(failure.name, "EACCES");
  EXPECT_EQ(failure.reason, "Permission denied");
}

TEST(RVXIOFailureTest, NumberWithoutANameIsItsOwnName) {
  EXPECT_EQ(failureFromErrno(3999).name, "3999");
}

TEST(RVXIOFailureTest, Details) {
  EXPECT_EQ(failureFromErrno(EIO).details(), "{errno = 5}");
}

TEST(RVXIOFailureTest, AnswersThatMeanNotSupported) {
  for (const int code : {EINVAL, ENOTSUP, EOPNOTSUPP, ENOSYS}) EXPECT_TRUE(meansNotSupported(code));
  for (const int code : {0, EIO, ENOSPC, EBADF, EDQUOT, EINTR, EACCES, EROFS})
    EXPECT_FALSE(meansNotSupported(code));
}

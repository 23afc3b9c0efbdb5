#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <type_traits>

#include "platform/files/RVXOutcome.h"
#include "tests/support/Outcomes.h"

static_assert(!std::is_convertible_v<RVXOutcome<int>, bool> &&
              !std::is_constructible_v<bool, RVXOutcome<int>>);
static_assert(!std::is_convertible_v<RVXOutcome<>, bool> && !std::is_constructible_v<bool, RVXOutcome<>>);

TEST(RVXOutcomeTest, SuccessHasItsValue) {
  RVXOutcome<std::unique_ptr<int>> outcome(std::make_unique<int>(42));
  ASSERT_TRUE(outcome.succeeded());
  EXPECT_FALSE(outcome.failed());
  const std::unique_ptr<int> value = std::move(outcome).value();
  EXPECT_EQ(*value, 42);
}

TEST(RVXOutcomeTest, FailureHasItsReason) {
  const RVXOutcome<int> outcome = failureFromErrno(ENOSPC);
  EXPECT_FALSE(outcome.succeeded());
  EXPECT_EQ(failureOf(outcome), "ENOSPC");
}

TEST(RVXOutcomeTest, WithoutAValueItIsASuccessUnlessItHasAFailure) {
  EXPECT_TRUE(RVXOutcome<>().succeeded());
  EXPECT_FALSE(RVXOutcome<>().failed());
  EXPECT_FALSE(RVXOutcome<>(failureFromErrno(EIO)).succeeded());
  EXPECT_EQ(failureOf(RVXOutcome<>(failureFromErrno(EIO))), "EIO");
}

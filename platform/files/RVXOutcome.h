#pragma once

#include <optional>
#include <utility>

#include "platform/files/RVXIOFailure.h"

// What an operation on a file or folder gave: its value, or why it failed. There is no conversion to bool on
// purpose: each use says whether it asks for success or for failure.
template <typename Value = void>
class [[nodiscard]] RVXOutcome {
 public:
  RVXOutcome(Value value) : mValue(std::move(value)) {}
  RVXOutcome(RVXIOFailure failure) : mFailure(std::move(failure)) {}

  [[nodiscard]] bool succeeded() const { return mValue.has_value(); }
  [[nodiscard]] bool failed() const { return !succeeded(); }

  // value() may be called only after success, failure() only after failure.
  [[nodiscard]] const Value& value() const& { return *mValue; }
  [[nodiscard]] Value& value() & { return *mValue; }
  [[nodiscard]] Value&& value() && { return *std::move(mValue); }
  [[nodiscard]] const RVXIOFailure& failure() const { return mFailure; }

 private:
  std::optional<Value> mValue;  // none after a failure
  RVXIOFailure mFailure;
};

// The same for an operation that gives nothing but success.
template <>
class [[nodiscard]] RVXOutcome<void> {
 public:
  RVXOutcome() = default;  // success
  RVXOutcome(RVXIOFailure failure) : mFailure(std::move(failure)) {}

  [[nodiscard]] bool succeeded() const { return !mFailure.has_value(); }
  [[nodiscard]] bool failed() const { return mFailure.has_value(); }
  [[nodiscard]] const RVXIOFailure& failure() const { return *mFailure; }

 private:
  std::optional<RVXIOFailure> mFailure;
};

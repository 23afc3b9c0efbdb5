#pragma once

#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

#include "platform/files/RVXIOFailure.h"

// What an operation on a file or folder gave: its value, or why it failed. RVXOutcome<> is for one that gives
// nothing but success. There is no conversion to bool on purpose: each use says whether it asks for success
// or for failure.
template <typename Value = std::monostate>
class [[nodiscard]] RVXOutcome {
 public:
  RVXOutcome() requires std::is_same_v<Value, std::monostate> : mValue(Value()) {}  // success
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

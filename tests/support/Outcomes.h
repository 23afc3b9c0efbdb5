#pragma once

#include <string>

#include "platform/files/RVXOutcome.h"

// The symbolic name of why an operation failed; "none" where it did not.
template <typename Value>
std::string failureOf(const RVXOutcome<Value>& outcome) {
  return outcome.failed() ? outcome.failure().name : "none";
}

#pragma once

#include <cstdint>
#include <optional>

#include "platform/files/RVXReadRecovery.h"

// For the reader of an owner that goes on after a failure: keeps the failure, and the file counts as ended
// there. Nothing is kept of a block that could be read at the second try.
class RVXKeptFailure : public RVXReadRecovery {
 public:
  struct Failure {
    RVXIOFailure reason;
    int64_t position = 0;  // bytes
  };

  // What could not be read, also at the second try: the failure of the first one. None while all could.
  [[nodiscard]] const std::optional<Failure>& failure() const { return mFailure; }

  void readFailed(const RVXIOFailure& failure, int64_t position) override { mFirst = {failure, position}; }
  void reopenFailed() override { mFailure = mFirst; }
  void readFailedAgain(const RVXIOFailure& /*firstFailure*/) override { mFailure = mFirst; }

 private:
  Failure mFirst;
  std::optional<Failure> mFailure;
};

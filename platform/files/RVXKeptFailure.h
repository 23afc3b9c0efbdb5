#pragma once

#include <cstdint>
#include <optional>

#include "platform/files/RVXReadRecovery.h"

// For an RVXRecoveringReader whose owner goes on after a failure. Keeps the failure, and the file counts as
// ended there. A block that could be read at the second try leaves nothing.
class RVXKeptFailure : public RVXReadRecovery {
 public:
  struct Failure {
    RVXIOFailure reason;
    int64_t position = 0;  // bytes
  };

  // The failure of a block that could not be read at the second try either: that of its first try. None while
  // all blocks could be read.
  [[nodiscard]] const std::optional<Failure>& failure() const { return mFailure; }

  void readFailed(const RVXIOFailure& failure, int64_t position) override { mFirst = {failure, position}; }
  void reopenFailed() override { mFailure = mFirst; }
  void readFailedAgain(const RVXIOFailure& /*firstFailure*/) override { mFailure = mFirst; }

 private:
  Failure mFirst;
  std::optional<Failure> mFailure;
};

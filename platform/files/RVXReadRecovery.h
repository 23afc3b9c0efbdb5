#pragma once

#include <cstdint>

#include "platform/files/RVXIOFailure.h"

// What the owner of an RVXRecoveringReader says and decides when a read fails. Called on the reading thread.
class RVXReadRecovery {
 public:
  virtual ~RVXReadRecovery() = default;

  // The block that begins at `position` (bytes) can't be read. It is about to be tried once more.
  virtual void readFailed(const RVXIOFailure& failure, int64_t position) = 0;

  // The file could not be opened again. If this returns, the file counts as ended at the failed block.
  virtual void reopenFailed() = 0;

  // The second try failed as well, after `firstFailure`. If this returns, the file counts as ended at the
  // failed block, and nothing more is to be read of it.
  virtual void readFailedAgain(const RVXIOFailure& firstFailure) = 0;
};

#pragma once

#include <string>
#include <utility>

#include "platform/files/RVXReadRecovery.h"

// What a copy says when a block of its source can't be read: the failure, whether the source's path still
// exists, and which volumes are mounted (this shows when the card was pulled). A source that can't be opened
// again, or fails a second time at the same block, ends the process with ExitStatus::readFailed.
class RVXCopyReadRecovery : public RVXReadRecovery {
 public:
  explicit RVXCopyReadRecovery(std::string sourcePath) : mSourcePath(std::move(sourcePath)) {}

  void readFailed(const RVXIOFailure& failure, int64_t position) override;
  void reopenFailed() override;
  void readFailedAgain(const RVXIOFailure& firstFailure) override;

 private:
  std::string mSourcePath;
};

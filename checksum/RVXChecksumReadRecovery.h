#pragma once

#include <string>
#include <utility>

#include "platform/files/RVXReadRecovery.h"

// What a verification says when a chunk of its file can't be read. A text that is not 7-bit ASCII is printed
// as "(null)". A second failure of the same chunk ends the process with ExitStatus::verifyReadFailed. A file
// that can't be opened again counts as ended: its digest covers what was read before, and will not match.
class RVXChecksumReadRecovery : public RVXReadRecovery {
 public:
  explicit RVXChecksumReadRecovery(std::string path) : mPath(std::move(path)) {}

  void readFailed(const RVXIOFailure& failure, int64_t position) override;
  void reopenFailed() override {}
  void readFailedAgain(const RVXIOFailure& firstFailure) override;

 private:
  std::string mPath;
};

#include "platform/files/RVXRecoveringReader.h"

#include <utility>

RVXOutcome<RVXRecoveringReader> RVXRecoveringReader::openForReading(const std::string& path) {
  auto opened = RVXStorageReader::openForReading(path);
  if (opened.failed()) return opened.failure();
  return RVXRecoveringReader(path, std::move(opened).value());
}

void RVXRecoveringReader::bypassCacheAndReadAhead() {
  if (!mReader) return;
  mReader->bypassCache();
  mReader->readAhead();
}

void RVXRecoveringReader::read(RVXBlock& block, RVXReadRecovery& recovery) {
  block.setLength(0);
  if (!mReader) return;
  const int64_t position = mReader->currentOffset();
  const auto done = mReader->readUpToCapacity(block);
  if (done.failed()) readAgain(block, position, done.failure(), recovery);
}

std::optional<RVXFileIdentity> RVXRecoveringReader::identity() const {
  return mReader ? std::optional(mReader->identity()) : std::nullopt;
}

void RVXRecoveringReader::readAgain(RVXBlock& block, int64_t position, const RVXIOFailure& failure,
                                    RVXReadRecovery& recovery) {
  recovery.readFailed(failure, position);
  close();
  auto opened = RVXStorageReader::openForReading(mPath);
  if (opened.failed()) return recovery.reopenFailed();
  mReader = std::move(opened).value();
  bypassCacheAndReadAhead();
  if (mReader->seek(position).failed() || mReader->readUpToCapacity(block).failed()) {
    recovery.readFailedAgain(failure);
  }
}

#include "platform/files/RVXRecoveringReader.h"

#include <utility>

std::optional<RVXRecoveringReader> RVXRecoveringReader::openForReading(const std::string& path) {
  auto reader = RVXStorageReader::openForReading(path);
  if (!reader) return std::nullopt;
  return RVXRecoveringReader(path, std::move(*reader));
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
  const auto failure = mReader->readUpToCapacity(block);
  if (failure) readAgain(block, position, *failure, recovery);
}

std::optional<RVXFileIdentity> RVXRecoveringReader::identity() const {
  return mReader ? std::optional(mReader->identity()) : std::nullopt;
}

void RVXRecoveringReader::readAgain(RVXBlock& block, int64_t position, const RVXIOFailure& failure,
                                    RVXReadRecovery& recovery) {
  recovery.readFailed(failure, position);
  close();
  mReader = RVXStorageReader::openForReading(mPath);
  if (!mReader) {
    recovery.reopenFailed();
    return;
  }
  bypassCacheAndReadAhead();
  if (mReader->seek(position) || mReader->readUpToCapacity(block)) recovery.readFailedAgain(failure);
}

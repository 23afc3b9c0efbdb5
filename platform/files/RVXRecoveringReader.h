#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "platform/files/RVXReadRecovery.h"
#include "platform/files/RVXStorageReader.h"

// Reads a file block by block, past the cache, and recovers from a failed block: the file is closed, opened
// again by its path, positioned at the start of the failed block and read once more, without a pause. Every
// block has one such retry. Used by one thread at a time.
class RVXRecoveringReader {
 public:
  static RVXOutcome<RVXRecoveringReader> openForReading(const std::string& path);

  // Makes the reads come from the storage and lets the system read ahead; also after a re-opening.
  void bypassCacheAndReadAhead();

  // Fills the block to its capacity unless the file ends first; a block that is not full is the last.
  void read(RVXBlock& block, RVXReadRecovery& recovery);

  // Tells whether the open file is the same as that of another path; none when it is closed.
  [[nodiscard]] std::optional<RVXFileIdentity> identity() const;
  // In bytes, when it was opened; 0 when it is closed.
  [[nodiscard]] int64_t size() const { return mReader ? mReader->size() : 0; }
  // When its contents had changed last, as it was opened: seconds since 1970, UTC; 0 when it is closed.
  [[nodiscard]] int64_t modified() const { return mReader ? mReader->modified() : 0; }
  // Whether the open file is a regular one; false when it is closed.
  [[nodiscard]] bool isRegularFile() const { return mReader && mReader->isRegularFile(); }

  void close() { mReader.reset(); }

 private:
  RVXRecoveringReader(std::string path, RVXStorageReader reader)
      : mPath(std::move(path)), mReader(std::move(reader)) {}
  void readAgain(RVXBlock& block, int64_t position, const RVXIOFailure& failure, RVXReadRecovery& recovery);

  std::string mPath;
  std::optional<RVXStorageReader> mReader;  // none after close() or when the re-opening failed
};

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "copy/RVXDestinationFile.h"

// Copies that are written but not yet safe from a power cut. They are flushed together: a disk that has to
// flush its own cache for each of a thousand frames needs many times as long as one that does it for all of
// them at once.
//
// Every copy stays open until then, because only a sync on the descriptor that wrote it tells reliably
// whether all of it could be written. The group holds at most kMostFiles copies, or half as many as the
// process may still open where that is less, or kMostServedFiles from the first copy on that another program
// or machine serves. It flushes when the copies at one destination have kMostBytes.
// Of these bytes at most RVXStorageWriter::kMostUnsettled are not yet with the storage.
//
// A copy that can't be written, synced or closed ends the process as endProcessOnWriteFailure() says. Used by
// one thread.
class RVXFlushGroup {
 public:
  static constexpr size_t kMostFiles = 4096;
  // Many a server may have no more than 1,024 files open: a program that serves files (FUSE) with the usual
  // limit of a process, and those of some network shares.
  static constexpr size_t kMostServedFiles = 512;
  static constexpr int64_t kMostBytes = int64_t{512} * 1024 * 1024;

  RVXFlushGroup();

  // Takes over the copies of one source file, one for each destination in order; none of a link. Flushes when
  // the group is full. A copy that no storage keeps, such as a pipe, is closed at once.
  void add(std::vector<RVXDestinationFile> copies);

  // Hands all copies to the storage, all destinations at the same time, and closes them. To be called at the
  // end.
  void flush();

 private:
  // The copies at one destination, oldest first.
  struct Destination {
    std::vector<RVXDestinationFile> copies;
    size_t settled = 0;     // how many of them the storage has taken
    int64_t bytes = 0;      // of all of them
    int64_t unsettled = 0;  // bytes of those after the settled ones
  };

  void addCopy(Destination& destination, RVXDestinationFile copy);
  static void settleOldest(Destination& destination);
  static void flushDestination(Destination& destination);
  [[nodiscard]] bool isFull() const;

  size_t mMostFiles;
  size_t mFiles = 0;
  std::vector<Destination> mDestinations;
};

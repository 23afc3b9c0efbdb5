#include "copy/RVXFlushGroup.h"

#include <algorithm>
#include <utility>

#include "copy/WriteFailure.h"
#include "platform/system/Host.h"
#include "platform/threads/RVXOperationQueue.h"

namespace {

void endProcessIfFailed(const RVXOutcome<>& outcome, const RVXDestinationFile& copy) {
  if (outcome.failed()) endProcessOnWriteFailure(outcome.failure(), copy.destPath);
}

void makeDurableAndClose(RVXDestinationFile& copy) {
  endProcessIfFailed(copy.fileHandle.makeDurable(), copy);
  endProcessIfFailed(copy.fileHandle.close(), copy);
}

}  // namespace

RVXFlushGroup::RVXFlushGroup() : mMostFiles(std::min(kMostFiles, freeDescriptors() / 2)) {}

void RVXFlushGroup::add(std::vector<RVXDestinationFile> copies) {
  // A link has no copies that were opened; those of the files before it stay.
  mDestinations.resize(std::max(mDestinations.size(), copies.size()));
  for (size_t k = 0; k < copies.size(); ++k) {
    // Whoever reads from a pipe or a device waits for its end, so it is closed at once.
    if (copies[k].fileHandle.isOnStorage()) {
      addCopy(mDestinations[k], std::move(copies[k]));
    } else {
      makeDurableAndClose(copies[k]);
    }
  }
  // The next file needs room for as many copies.
  if (isFull() || mFiles + copies.size() > mMostFiles) flush();
}

void RVXFlushGroup::addCopy(Destination& destination, RVXDestinationFile copy) {
  // A server is asked only once: the answer may have to come from far away.
  if (mMostFiles > kMostServedFiles && copy.fileHandle.isServed()) mMostFiles = kMostServedFiles;
  ++mFiles;
  destination.bytes += copy.fileHandle.written();
  destination.unsettled += copy.fileHandle.unsettled();
  destination.copies.push_back(std::move(copy));
  while (destination.unsettled > RVXStorageWriter::kMostUnsettled) settleOldest(destination);
}

void RVXFlushGroup::settleOldest(Destination& destination) {
  RVXDestinationFile& oldest = destination.copies[destination.settled];
  destination.unsettled -= oldest.fileHandle.unsettled();
  endProcessIfFailed(oldest.fileHandle.settle(), oldest);
  ++destination.settled;
}

void RVXFlushGroup::flush() {
  RVXOperationQueue queue;
  for (Destination& destination : mDestinations) {
    queue.addOperation([&destination] { flushDestination(destination); });
  }
  queue.waitUntilAllOperationsAreFinished();
  mDestinations.clear();
  mFiles = 0;
}

void RVXFlushGroup::flushDestination(Destination& destination) {
  // First all contents, so that the first sync finds everything there, and the others nothing left to flush.
  while (destination.settled < destination.copies.size()) settleOldest(destination);
  if (destination.copies.size() > 1) destination.copies.front().fileHandle.prepareManyDurable();
  for (RVXDestinationFile& copy : destination.copies) makeDurableAndClose(copy);
}

bool RVXFlushGroup::isFull() const {
  return std::any_of(mDestinations.begin(), mDestinations.end(),
                     [](const Destination& destination) { return destination.bytes >= kMostBytes; });
}

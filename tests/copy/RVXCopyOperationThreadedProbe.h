#pragma once

#include <string>

#include "copy/RVXCopyOperationThreaded.h"

// Lets the tests force an exit and run the parts of a copy one by one.
struct RVXCopyOperationThreadedProbe {
  static void forceExit(RVXCopyOperationThreaded& operation) { operation.mForceExit = true; }

  static RVXCopyBufferManager* bufferManager(RVXCopyOperationThreaded& operation) {
    return operation.mBufferManager.get();
  }

  // The state in which the threads of a copy start, without the threads.
  static RVXCopyBufferManager& prepare(RVXCopyOperationThreaded& operation, int64_t numberOfWriters) {
    operation.openSource();
    operation.mBufferManager = RVXCopyBufferManager::initWithNumberOfWriterThreads(numberOfWriters);
    return *operation.mBufferManager;
  }

  static void readThread(RVXCopyOperationThreaded& operation) { operation.readThread(); }
  static void digestThread(RVXCopyOperationThreaded& operation) { operation.digestThread(); }
  static void fakeDigestThread(RVXCopyOperationThreaded& operation) { operation.fakeDigestThread(); }
  static void writeThread(RVXCopyOperationThreaded& operation, const std::string& file) {
    RVXDestinationFile copy{RVXStorageWriter::openForWriting(file).value(), "folder"};
    operation.writeThread(copy);
  }

  // A whole copy in the steps of main(), with its buffer manager to be watched between them.
  static RVXCopyBufferManager& start(RVXCopyOperationThreaded& operation, size_t numberOfWriters) {
    RVXCopyBufferManager& manager = prepare(operation, static_cast<int64_t>(numberOfWriters));
    operation.openDestinations();
    operation.startThreads();
    return manager;
  }

  static bool allThreadsFinished(const RVXCopyOperationThreaded& operation) {
    return operation.allThreadsFinished();
  }
};

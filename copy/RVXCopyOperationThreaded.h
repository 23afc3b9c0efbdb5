#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "copy/RVXCopyBufferManager.h"
#include "copy/RVXDestinationFile.h"
#include "include/HashAlgorithm.h"
#include "include/RVXError.h"
#include "platform/files/RVXRecoveringReader.h"
#include "platform/threads/RVXEvent.h"
#include "platform/threads/RVXMutex.h"
#include "platform/threads/RVXThread.h"

// Copies one file to all its destinations in a single pass: a reader reads the source in blocks of 2 MiB, a
// digest thread computes MD5 and SHA-1 of the stream, and one writer for each destination writes every block;
// they meet in an RVXCopyBufferManager. A source that is a symbolic link is copied as a link, and its digests
// are those of its target text.
//
// The caller constructs it, sets the properties, runs main() once on its own thread and then asks for the
// result. What main() returns as failure:
//   200 "can't open source file"                  the source can't be opened, or its link not read
//   201 "can't open destination file (#NUMBER)"   a destination can't be opened, is a symbolic link, or is
//                                                 the source itself and might be overwritten
//   201 "can't open destination file (PATH)"      a link can't be created at that path
// What ends the process, from whichever thread finds it:
//   107 a destination exists and may not be overwritten
//   117 the machine refuses a thread or memory
//   211, 212 a copy can't be written, synced or closed (212: no space left)
//   220 a block of the source can't be read, tried twice
// When main() returns, what is written is on its way to the storage and the files are still open;
// takeCopies() hands them to the caller, who makes them safe from a power cut. main() counts the bytes up to
// the size that the source had before. If the source no longer has that size, main() waits for ever, unless
// the count happens to equal it just when main() looks.
class RVXCopyOperationThreaded {
 public:
  static constexpr size_t kBlockSize = size_t{2} * 1024 * 1024;

  // An operation without a source or destinations.
  static std::unique_ptr<RVXCopyOperationThreaded> init();

  // Entry i of both lists, which are equally long, describes destination i: its folder and the name to use
  // there. The folder "/dev/null/" discards what it gets.
  static std::unique_ptr<RVXCopyOperationThreaded> initWithSourcePath(
      std::string sourcePath, std::vector<std::string> destinationPaths,
      std::vector<std::string> destinationFilenames, bool forceOverwrite, bool skipVerification);

  // Whether status lines and the digests are printed.
  [[nodiscard]] bool verbose() const { return mVerbose; }
  void setVerbose(bool verbose) { mVerbose = verbose; }

  // Which digest hash() gives. Both are computed whichever it is.
  [[nodiscard]] HashAlgorithm algorithm() const { return mAlgorithm; }
  void setAlgorithm(HashAlgorithm algorithm) { mAlgorithm = algorithm; }

  // The sizes, in bytes, may be asked for while threads run. The two of the whole job are for the status line
  // only; the caller advances them from file to file.
  [[nodiscard]] int64_t fileSize() const { return mFileSize; }  // before the copy; 0 for a link
  [[nodiscard]] int64_t allFilesSize() const { return mAllFilesSize; }
  void setAllFilesSize(int64_t size) { mAllFilesSize = size; }
  [[nodiscard]] int64_t sizeOfAllFilesProcessed() const { return mSizeOfAllFilesProcessed; }
  void setSizeOfAllFilesProcessed(int64_t size) { mSizeOfAllFilesProcessed = size; }

  // Performs the copy; all its threads have ended when it returns.
  void main();

  // The files that were written, still open, one for each destination in order; none for a link. May be taken
  // once, after a main() without a failure. Neither they nor their names are durable until the caller makes
  // them so.
  [[nodiscard]] std::vector<RVXDestinationFile> takeCopies();

  [[nodiscard]] bool isFailed() const { return mIsFailed; }
  [[nodiscard]] const std::optional<RVXError>& error() const { return mError; }

  // The digest string of the chosen algorithm; none for a code that is neither, and none when verification
  // was skipped.
  [[nodiscard]] std::optional<std::string> hash() const;

 private:
  friend struct RVXCopyOperationThreadedProbe;  // lets the tests force an exit and look at the threads

  // One destination: the entries with the same index of both lists.
  struct Destination {
    unsigned number = 0;  // from 1, as messages name it
    std::string folder;
    std::string file;          // the whole path
    bool isDiscarded = false;  // whatever is written there is to be lost
  };

  RVXCopyOperationThreaded() = default;

  [[nodiscard]] std::vector<Destination> destinations() const;
  void copyLink(const RVXFileIdentity& source);
  void copyFile();
  bool openSource();
  bool openDestinations();
  bool openDestination(const Destination& place);
  [[nodiscard]] bool isSource(const RVXStorageWriter& file) const;
  void startThreads();
  void waitForAllBytes();

  void readThread();
  void digestThread();
  void fakeDigestThread();
  void writeThread(RVXDestinationFile& info);

  void printStatus() const;
  void printDigests(const std::optional<std::string>& sha1, const std::optional<std::string>& md5) const;
  [[nodiscard]] bool allThreadsFinished() const;
  bool forcedExit(const char* threadName) const;
  void fail(RVXError error);
  // The first does so only where the destination may not be overwritten.
  void endProcessIfExists(const Destination& place) const;
  [[noreturn]] static void endProcessOnExisting(const Destination& place);
  // The number that a writer has in the buffer manager. The threads take it in the order in which they come
  // to run, so it isn't the number of the destination.
  int64_t takeThreadIndex() RVX_EXCLUDES(mThreadIndexLock);

  bool mVerbose = false;
  HashAlgorithm mAlgorithm = HashAlgorithm::SHA1;
  std::string mSourcePath;
  std::optional<RVXRecoveringReader> mSourceFH;
  std::vector<std::string> mDestPaths;
  std::vector<std::string> mDestFilenames;
  bool mForceOverwrite = false;
  bool mSkipVerification = false;
  bool mIsFailed = false;
  std::optional<RVXError> mError;
  std::optional<std::string> mSHA1Digest;
  std::optional<std::string> mMD5Digest;
  std::atomic<int64_t> mFileSize{0};
  std::atomic<int64_t> mAllFilesSize{0};
  std::atomic<int64_t> mSizeOfAllFilesProcessed{0};
  [[maybe_unused]] std::optional<std::chrono::steady_clock::time_point> mOutputTimer;  // reserved, not used
  std::unique_ptr<RVXCopyBufferManager> mBufferManager;  // exists only during main()
  std::vector<RVXDestinationFile> mCopies;               // in destination order

  // Nothing sets it. Every thread and the progress loop test it all the same: setting it would stop them all.
  std::atomic<bool> mForceExit{false};

  RVXMutex mThreadIndexLock;
  int64_t mThreadIndex RVX_GUARDED_BY(mThreadIndexLock) = 0;

  // Each ends a poll early: all threads of the copy have ended, or a consumer has finished a buffer.
  std::shared_ptr<RVXEvent> mAllThreadsEnded;
  RVXEvent mBufferFinished;

  // Last members, so that the threads end before what they use is destroyed.
  std::unique_ptr<RVXThread> mDigestThread;
  std::unique_ptr<RVXThread> mReaderThread;
  std::deque<RVXThread> mWriterThreads;
};

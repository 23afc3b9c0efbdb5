#include "copy/RVXCopyOperationThreaded.h"

#include <chrono>
#include <utility>

#include "copy/RVXCopyReadRecovery.h"
#include "copy/WriteFailure.h"
#include "include/EndProcess.h"
#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/system/RVXDigest.h"
#include "platform/threads/RVXOperationQueue.h"

namespace {

// Short enough that a small frame hardly waits, long enough to cost the copying threads nothing.
constexpr auto kPollInterval = std::chrono::milliseconds(1);
constexpr uint64_t kPollsPerStatus = 500;  // about half a second
constexpr const char* kDiscardingFolder = "/dev/null/";

}  // namespace

std::unique_ptr<RVXCopyOperationThreaded> RVXCopyOperationThreaded::init() {
  return std::unique_ptr<RVXCopyOperationThreaded>(new RVXCopyOperationThreaded);
}

std::unique_ptr<RVXCopyOperationThreaded> RVXCopyOperationThreaded::initWithSourcePath(
    std::string sourcePath, std::vector<std::string> destinationPaths,
    std::vector<std::string> destinationFilenames, bool forceOverwrite, bool skipVerification) {
  auto operation = init();
  operation->mSourcePath = std::move(sourcePath);
  operation->mDestPaths = std::move(destinationPaths);
  operation->mDestFilenames = std::move(destinationFilenames);
  operation->mForceOverwrite = forceOverwrite;
  operation->mSkipVerification = skipVerification;
  return operation;
}

void RVXCopyOperationThreaded::main() {
  const auto attributes = attributesOfItem(mSourcePath);
  if (attributes.failed()) return fail(RVXError::copySourceNotOpened());
  if (attributes.value().type == RVXFileType::symbolicLink) return copyLink(attributes.value().identity);
  mFileSize = attributes.value().size;
  if (openSource() && openDestinations()) copyFile();
  mBufferManager.reset();
}

std::vector<RVXDestinationFile> RVXCopyOperationThreaded::takeCopies() {
  return std::move(mCopies);
}

std::optional<std::string> RVXCopyOperationThreaded::hash() const {
  if (mAlgorithm == HashAlgorithm::SHA1) return mSHA1Digest;
  if (mAlgorithm == HashAlgorithm::MD5) return mMD5Digest;
  return std::nullopt;
}

std::vector<RVXCopyOperationThreaded::Destination> RVXCopyOperationThreaded::destinations() const {
  std::vector<Destination> destinations;
  for (size_t i = 0; i < mDestPaths.size(); ++i) {
    const bool isDiscarded = mDestPaths[i] == kDiscardingFolder;
    const std::string file = pathByAppendingComponent(mDestPaths[i], mDestFilenames[i]);
    destinations.push_back(
        {static_cast<unsigned>(i + 1), mDestPaths[i], isDiscarded ? "/dev/null" : file, isDiscarded});
  }
  return destinations;
}

void RVXCopyOperationThreaded::copyLink(const RVXFileIdentity& source) {
  const auto target = linkTarget(mSourcePath);
  if (target.failed()) return fail(RVXError::copySourceNotOpened());
  const std::vector<Destination> places = destinations();
  for (const Destination& place : places) {
    if (mForceOverwrite && isItem(place.file, source)) return fail(RVXError::copyLinkNotCreated(place.file));
  }
  for (const Destination& place : places) {
    if (place.isDiscarded) continue;
    // A link that leads nowhere does not count as an existing file, unless it is the source itself.
    if (!mForceOverwrite && (fileExists(place.file) || isItem(place.file, source)))
      endProcessOnExisting(place);
    if (createSymbolicLink(target.value(), place.file).failed())
      return fail(RVXError::copyLinkNotCreated(place.file));
  }
  if (!mSkipVerification) {
    mSHA1Digest = SHA1Sum(target.value());
    mMD5Digest = md5(target.value());
  }
  printDigests(mSHA1Digest, mMD5Digest);
}

bool RVXCopyOperationThreaded::openSource() {
  auto opened = RVXRecoveringReader::openForReading(mSourcePath);
  if (opened.succeeded()) {
    mSourceFH = std::move(opened).value();
  } else {
    fail(RVXError::copySourceNotOpened());
  }
  return mSourceFH.has_value();
}

bool RVXCopyOperationThreaded::openDestinations() {
  const std::vector<Destination> places = destinations();
  // All are examined first: nothing is created or emptied in a run that would overwrite its own source.
  for (const Destination& place : places) {
    if (mForceOverwrite && !place.isDiscarded && leadsTo(place.file, mSourceFH->identity())) {
      fail(RVXError::copyDestinationNotOpened(place.number));
      return false;
    }
  }
  for (const Destination& place : places) {
    if (!openDestination(place)) return false;
  }
  return true;
}

bool RVXCopyOperationThreaded::openDestination(const Destination& place) {
  endProcessIfExists(place);
  // Where another run was given the same path, only one of the two creates the file.
  auto opened = mForceOverwrite || place.isDiscarded ? RVXStorageWriter::openForWriting(place.file)
                                                     : RVXStorageWriter::createForWriting(place.file);
  // In this order: the cache request is made before anybody knows whether the file could be opened.
  RVXStorageWriter::bypassCache(opened);
  if (opened.failed()) endProcessIfExists(place);
  if (opened.failed() || isSource(opened.value()) || opened.value().truncate().failed()) {
    fail(RVXError::copyDestinationNotOpened(place.number));
    return false;
  }
  mCopies.push_back({std::move(opened).value(), place.folder});
  return true;
}

bool RVXCopyOperationThreaded::isSource(const RVXStorageWriter& file) const {
  // Asked again of what was really opened: the path may have led elsewhere when it was examined.
  const auto attributes = file.attributes();
  return attributes.failed() || attributes.value().identity == mSourceFH->identity();
}

void RVXCopyOperationThreaded::copyFile() {
  mBufferManager =
      RVXCopyBufferManager::initWithNumberOfWriterThreads(static_cast<int64_t>(mDestPaths.size()));
  mSourceFH->bypassCacheAndReadAhead();
  // The first status line is due before any block is released, however fast the threads are.
  if (mFileSize != 0) printStatus();
  startThreads();
  // A device has no size, so there is no number of bytes to wait for.
  if (mFileSize != 0) waitForAllBytes();
  while (!allThreadsFinished()) mAllThreadsEnded->waitAtMost(kPollInterval);
  mSourceFH->close();
}

void RVXCopyOperationThreaded::startThreads() {
  // The digests decide how long a copy takes; the threads that wait for files leave the cores to them.
  const auto standing = mSkipVerification ? RVXThreadStanding::normal : RVXThreadStanding::yielding;
  mAllThreadsEnded = std::make_shared<RVXEvent>(2 + mCopies.size());  // the reader, the digest, the writers
  mReaderThread = std::make_unique<RVXThread>([this] { readThread(); }, standing, mAllThreadsEnded);
  mDigestThread =
      std::make_unique<RVXThread>([this] { mSkipVerification ? fakeDigestThread() : digestThread(); },
                                  RVXThreadStanding::normal, mAllThreadsEnded);
  {
    const RVXMutexLock lock(mThreadIndexLock);
    mThreadIndex = 0;
  }
  for (RVXDestinationFile& copy : mCopies) {
    mWriterThreads.emplace_back([this, &copy] { writeThread(copy); }, standing, mAllThreadsEnded);
  }
}

void RVXCopyOperationThreaded::waitForAllBytes() {
  // Only exact equality ends it: a source that changed its size was not the file that was to be copied.
  for (uint64_t i = 0; mBufferManager->bytesWritten() != static_cast<uint64_t>(mFileSize); ++i) {
    if (mForceExit) return;
    if (i != 0 && i % kPollsPerStatus == 0) printStatus();
    mAllThreadsEnded->waitAtMost(kPollInterval);
  }
}

void RVXCopyOperationThreaded::readThread() {
  RVXCopyReadRecovery recovery(mSourcePath);
  while (true) {
    while (!mBufferManager->willAcceptReadBuffer() && !mForceExit) mBufferFinished.waitAtMost(kPollInterval);
    if (forcedExit("readThread")) return;
    // A consumer counts a buffer as finished just before it releases it. A block read between the two would
    // be one more than the lag allows.
    mBufferManager->cleanupBuffers();
    RVXBlock block = RVXBlock::withCapacity(kBlockSize);
    mSourceFH->read(block, recovery);
    const bool isLast = block.length() != kBlockSize;
    mBufferManager->addReadBuffer(std::move(block));
    if (isLast) {
      mBufferManager->setFinishedReading();
      return;
    }
  }
}

void RVXCopyOperationThreaded::digestThread() {
  RVXDigest md5Digest(HashAlgorithm::MD5);
  RVXDigest sha1Digest(HashAlgorithm::SHA1);
  RVXOperationQueue queue;
  while (true) {
    const RVXBlock* const buffer = mBufferManager->nextBufferForDigest();
    if (forcedExit("digestThread")) return;
    if (buffer == nullptr) break;
    queue.addOperation([&] { md5Digest.update(buffer->bytes()); });
    queue.addOperation([&] { sha1Digest.update(buffer->bytes()); });
    queue.waitUntilAllOperationsAreFinished();
    mBufferManager->finishedDigest();
    mBufferFinished.signal();
  }
  const std::string md5Text = md5Digest.final();
  const std::string sha1Text = sha1Digest.final();
  if (mAlgorithm == HashAlgorithm::MD5) mMD5Digest = md5Text;
  if (mAlgorithm == HashAlgorithm::SHA1) mSHA1Digest = sha1Text;
  printDigests(sha1Text, md5Text);
}

void RVXCopyOperationThreaded::fakeDigestThread() {
  // Without verification nobody needs a digest, but a buffer is only released when one was made of it.
  while (true) {
    const RVXBlock* const buffer = mBufferManager->nextBufferForDigest();
    if (forcedExit("digestThread") || buffer == nullptr) return;
    mBufferManager->finishedDigest();
    mBufferFinished.signal();
  }
}

void RVXCopyOperationThreaded::writeThread(RVXDestinationFile& info) {
  const int64_t index = takeThreadIndex();
  while (true) {
    const RVXBlock* const buffer = mBufferManager->nextBufferForWritingInThread(index);
    if (forcedExit("writeThread")) return;
    if (buffer == nullptr) return;
    const auto written = info.fileHandle.write(buffer->bytes());
    if (written.failed()) endProcessOnWriteFailure(written.failure(), info.destPath);
    mBufferManager->finishedWritingInThread(index);
    mBufferFinished.signal();
  }
}

void RVXCopyOperationThreaded::printStatus() const {
  if (!mVerbose) return;
  const auto copied = mSizeOfAllFilesProcessed + static_cast<int64_t>(mBufferManager->bytesWritten());
  print("INFO: copied %lld of %lld bytes\n", static_cast<long long>(copied),
        static_cast<long long>(mAllFilesSize));
}

void RVXCopyOperationThreaded::printDigests(const std::optional<std::string>& sha1,
                                            const std::optional<std::string>& md5) const {
  if (mVerbose) print("hash SHA1:%s\nhash MD5:%s\n", textOrNull(sha1), textOrNull(md5));
}

bool RVXCopyOperationThreaded::allThreadsFinished() const {
  if (!mDigestThread->isFinished() || !mReaderThread->isFinished()) return false;
  for (const RVXThread& writer : mWriterThreads) {
    if (!writer.isFinished()) return false;
  }
  return true;
}

bool RVXCopyOperationThreaded::forcedExit(const char* threadName) const {
  if (!mForceExit) return false;
  print("INFO: forced exit of %s\n", threadName);
  return true;
}

void RVXCopyOperationThreaded::fail(RVXError error) {
  mError = std::move(error);
  mIsFailed = true;
}

void RVXCopyOperationThreaded::endProcessIfExists(const Destination& place) const {
  if (!mForceOverwrite && !place.isDiscarded && fileExists(place.file)) endProcessOnExisting(place);
}

void RVXCopyOperationThreaded::endProcessOnExisting(const Destination& place) {
  print("ERROR: File destination #%u (%s) already exists.\n", place.number, place.file.c_str());
  endProcess(ExitStatus::destinationFileExists);
}

int64_t RVXCopyOperationThreaded::takeThreadIndex() {
  const RVXMutexLock lock(mThreadIndexLock);
  return mThreadIndex++;
}

#include "checksum/RVXGenerateChecksumOperation.h"

#include <array>
#include <chrono>
#include <utility>

#include "checksum/RVXChecksumReadRecovery.h"
#include "include/Print.h"
#include "platform/files/RVXFileSystem.h"
#include "platform/files/RVXPathText.h"
#include "platform/system/RVXDigest.h"
#include "platform/threads/RVXOperationQueue.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kProgressInterval = std::chrono::milliseconds(500);

}  // namespace

std::unique_ptr<RVXGenerateChecksumOperation> RVXGenerateChecksumOperation::init() {
  return std::unique_ptr<RVXGenerateChecksumOperation>(new RVXGenerateChecksumOperation);
}

std::unique_ptr<RVXGenerateChecksumOperation> RVXGenerateChecksumOperation::initWithPath(
    const std::string& path, HashAlgorithm algorithm, bool verbose) {
  auto operation = init();
  operation->setPath(path);
  operation->mAlgorithm = algorithm;
  operation->setVerbose(verbose);
  return operation;
}

std::optional<std::string> RVXGenerateChecksumOperation::checksum() {
  mError.reset();
  const auto attributes = attributesOfItem(path());
  if (attributes.succeeded() && attributes.value().type == RVXFileType::symbolicLink) {
    mLinkIdentity = attributes.value().identity;
    return linkChecksum();
  }

  auto opened = RVXRecoveringReader::openForReading(path());
  // An item that can't be examined might be a link that leads to an endless device.
  if (opened.failed() || (attributes.failed() && !opened.value().isRegularFile())) {
    mError = RVXError::verifySourceNotOpened();
    return std::nullopt;
  }
  mReader = std::move(opened).value();
  setFileSize(attributes.succeeded() ? attributes.value().size : 0);
  mReader->bypassCacheAndReadAhead();
  return fileChecksum();
}

std::optional<RVXFileIdentity> RVXGenerateChecksumOperation::identity() const {
  return mReader ? mReader->identity() : mLinkIdentity;
}

std::optional<std::string> RVXGenerateChecksumOperation::linkChecksum() const {
  const auto target = linkTarget(path());
  if (target.failed() || !hasKnownAlgorithm()) return std::nullopt;
  return mAlgorithm == HashAlgorithm::MD5 ? md5(target.value()) : SHA1Sum(target.value());
}

std::string RVXGenerateChecksumOperation::fileChecksum() {
  RVXChecksumReadRecovery recovery(path());
  std::optional<RVXDigest> digest;
  if (hasKnownAlgorithm()) digest.emplace(mAlgorithm);

  // While the one is digested the other is filled.
  std::array<RVXBlock, 2> chunks;
  RVXOperationQueue digestQueue;
  auto lastProgress = Clock::now();
  uint64_t bytesRead = 0;
  for (size_t i = 0;; i = 1 - i) {
    if (mVerbose && Clock::now() - lastProgress > kProgressInterval) {
      printProgress(bytesRead);
      lastProgress = Clock::now();
    }
    RVXBlock& chunk = chunks[i];
    if (chunk.storage().empty()) chunk = RVXBlock::withCapacity(kChunkSize);  // a small file needs only one
    mReader->read(chunk, recovery);
    digestQueue.waitUntilAllOperationsAreFinished();
    const auto update = [&digest, &chunk] {
      if (digest) digest->update(chunk.bytes());
    };
    bytesRead += chunk.length();
    if (chunk.length() != kChunkSize) {
      // Nothing is read beside it, and starting a thread would take longer than to digest a small frame.
      update();
      break;
    }
    digestQueue.addOperation(update);
  }
  if (mVerbose) printProgress(bytesRead);
  return digest ? digest->final() : "";
}

void RVXGenerateChecksumOperation::printProgress(uint64_t bytesRead) const {
  const uint64_t verified = static_cast<uint64_t>(mSizeOfAllFilesProcessed) + bytesRead;
  print("INFO: verified %llu of %llu bytes of path %s\n", static_cast<unsigned long long>(verified),
        static_cast<unsigned long long>(mAllFilesSize), pathWithoutLastComponent(path()).c_str());
}

bool RVXGenerateChecksumOperation::hasKnownAlgorithm() const {
  return mAlgorithm == HashAlgorithm::SHA1 || mAlgorithm == HashAlgorithm::MD5;
}

#include "checksum/RVXGenerateChecksumOperation.h"

#include <chrono>
#include <utility>

#include "checksum/RVXChecksumReadRecovery.h"
#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/files/RVXChunkReader.h"
#include "platform/system/RVXDigest.h"

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
  const auto update = [&digest](std::span<const std::byte> chunk) {
    if (digest) digest->update(chunk);
  };
  RVXChunkReader chunks(*mReader, recovery, kChunkSize, {update});
  auto lastProgress = Clock::now();
  do {
    if (mVerbose && Clock::now() - lastProgress > kProgressInterval) {
      printProgress(chunks.bytesRead());
      lastProgress = Clock::now();
    }
  } while (chunks.readNext());
  if (mVerbose) printProgress(chunks.bytesRead());
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

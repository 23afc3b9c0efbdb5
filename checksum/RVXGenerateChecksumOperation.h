#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "include/HashAlgorithm.h"
#include "include/RVXError.h"
#include "platform/files/RVXRecoveringReader.h"
#include "platform/threads/RVXAtomicProperty.h"

// Reads one file back from its storage, in chunks of 4 MiB of which at most two are held, and computes its
// digest while the next chunk is read. A symbolic link gives the string digest of its target text.
//
// The caller constructs it, sets the sizes, and calls checksum() once, which runs on the caller's thread.
// Several operations may run at the same time: they share nothing but standard output.
class RVXGenerateChecksumOperation {
 public:
  static constexpr size_t kChunkSize = size_t{4} * 1024 * 1024;

  static std::unique_ptr<RVXGenerateChecksumOperation> init();
  static std::unique_ptr<RVXGenerateChecksumOperation> initWithPath(const std::string& path,
                                                                    HashAlgorithm algorithm, bool verbose);

  // Whether checksum() prints progress lines, "INFO: verified %llu of %llu bytes of path %s\n" with the
  // file's folder: at most one in each half second, and one at the end.
  [[nodiscard]] bool verbose() const { return mVerbose; }
  void setVerbose(bool verbose) { mVerbose = verbose; }

  // The file to read. Read and written whole, from any thread.
  [[nodiscard]] std::string path() const { return mPath.get(); }
  void setPath(const std::string& path) { mPath.set(path); }

  // Sizes in bytes. The file's own is known once checksum() has opened it, and is 0 where it can't be
  // examined; it stays 0 for a link. The two of the whole run are the caller's, for the progress lines only.
  [[nodiscard]] int64_t fileSize() const { return mFileSize; }
  void setFileSize(int64_t size) { mFileSize = size; }
  [[nodiscard]] int64_t allFilesSize() const { return mAllFilesSize; }
  void setAllFilesSize(int64_t size) { mAllFilesSize = size; }
  [[nodiscard]] int64_t sizeOfAllFilesProcessed() const { return mSizeOfAllFilesProcessed; }
  void setSizeOfAllFilesProcessed(int64_t size) { mSizeOfAllFilesProcessed = size; }

  // The digest string. None when the file can't be opened, or can't be examined and is no regular file:
  // error() says so, nothing is printed. None also, but without an error, for a link whose target can't be
  // read. For an algorithm code other than the two: an empty text, and none for a link. A chunk that can't be
  // read is reported and tried once more after the file was opened again; when that fails, too, the process
  // ends with ExitStatus::verifyReadFailed. A file that can't be opened again counts as ended at that chunk.
  std::optional<std::string> checksum();

  // What checksum() has read; none when it could not be opened. The file stays open as long as the operation
  // lives, because some file systems (exFAT) give a file another number once nobody holds it.
  [[nodiscard]] std::optional<RVXFileIdentity> identity() const;

  // "rvxverify" 200 when the last checksum() could not open the file, or refused it as one that it could not
  // examine.
  [[nodiscard]] const std::optional<RVXError>& error() const { return mError; }

 private:
  RVXGenerateChecksumOperation() = default;
  [[nodiscard]] std::optional<std::string> linkChecksum() const;
  std::string fileChecksum();
  void printProgress(uint64_t bytesRead) const;
  [[nodiscard]] bool hasKnownAlgorithm() const;

  bool mVerbose = false;
  RVXAtomicProperty<std::string> mPath;
  HashAlgorithm mAlgorithm = HashAlgorithm::SHA1;
  std::optional<RVXError> mError;
  std::optional<RVXFileIdentity> mLinkIdentity;
  std::optional<RVXRecoveringReader> mReader;
  std::atomic<int64_t> mFileSize{0};
  std::atomic<int64_t> mAllFilesSize{0};
  std::atomic<int64_t> mSizeOfAllFilesProcessed{0};
};

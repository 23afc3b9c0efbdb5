#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "checksum/RVXGenerateChecksumOperation.h"
#include "include/HashAlgorithm.h"
#include "include/RVXError.h"
#include "platform/threads/RVXAtomicProperty.h"

// Checks one file against the digest string that it is expected to have. main() is run once, on a worker of
// an operation queue; the result is asked for after the queue has been waited for.
class RVXVerifyOperation {
 public:
  // Without a checksum operation, which has to be set before anything else is asked for.
  static std::unique_ptr<RVXVerifyOperation> init();
  static std::unique_ptr<RVXVerifyOperation> initWithPath(const std::string& path, const std::string& hash,
                                                          HashAlgorithm algorithm, bool verbose);

  // Has the file read and digested, and compares the digest strings exactly: one in upper case, or none,
  // never matches. On a mismatch it prints "INFO: expected hash: %s but got hash: %s.\n", verbose or not; the
  // "ERROR: " line is the caller's. Ends the process as RVXGenerateChecksumOperation::checksum() does.
  void main();

  [[nodiscard]] bool isFailed() const { return mIsFailed; }

  // The checksum operation's error: "rvxverify" 200 when the file could not be opened.
  [[nodiscard]] std::optional<RVXError> error() const { return generateChecksumOperation()->error(); }

  // The operation that reads this file. Read and written whole, from any thread.
  [[nodiscard]] std::shared_ptr<RVXGenerateChecksumOperation> generateChecksumOperation() const {
    return mGenerateChecksumOperation.get();
  }
  void setGenerateChecksumOperation(std::shared_ptr<RVXGenerateChecksumOperation> operation) {
    mGenerateChecksumOperation.set(std::move(operation));
  }

 private:
  RVXVerifyOperation() = default;

  std::optional<std::string> mHash;
  bool mIsFailed = false;
  RVXAtomicProperty<std::shared_ptr<RVXGenerateChecksumOperation>> mGenerateChecksumOperation;
};

#include "checksum/RVXVerifyOperation.h"

#include "include/Print.h"

std::unique_ptr<RVXVerifyOperation> RVXVerifyOperation::init() {
  return std::unique_ptr<RVXVerifyOperation>(new RVXVerifyOperation);
}

std::unique_ptr<RVXVerifyOperation> RVXVerifyOperation::initWithPath(const std::string& path,
                                                                     const std::string& hash,
                                                                     HashAlgorithm algorithm, bool verbose) {
  auto operation = init();
  operation->setGenerateChecksumOperation(
      RVXGenerateChecksumOperation::initWithPath(path, algorithm, verbose));
  operation->mHash = hash;
  return operation;
}

void RVXVerifyOperation::main() {
  const std::optional<std::string> computed = generateChecksumOperation()->checksum();
  mIsFailed = !computed || computed != mHash;
  if (mIsFailed) {
    print("INFO: expected hash: %s but got hash: %s.\n", textOrNull(mHash), textOrNull(computed));
  }
}

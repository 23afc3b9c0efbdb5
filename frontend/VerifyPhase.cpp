#include "frontend/VerifyPhase.h"

#include <memory>
#include <vector>

#include "checksum/RVXVerifyOperation.h"
#include "frontend/RVXSourceFile.h"
#include "include/EndProcess.h"
#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "platform/threads/RVXOperationQueue.h"

namespace {

using VerifyOperations = std::vector<std::unique_ptr<RVXVerifyOperation>>;

void announceVerification(const CopyJobOptions& options, const CopyPlan& plan) {
  if (!options.verbose) return;
  for (const std::string& folder : plan.destinationPaths) print("INFO: verifying %s\n", folder.c_str());
  print("INFO: verifying %s\n", sourceFolder(options).c_str());
}

std::string expectedDigest(const CopyJobOptions& options, const RVXHashList& hashList,
                           const RVXSourceFile& file) {
  const std::string label = hashAlgorithmLabel(options.algorithm) + ":";
  const std::string entry = hashList.hashStringForFile(file.hashListKey).value_or("");
  return entry.starts_with(label) ? entry.substr(label.size()) : entry;
}

// One operation for each copy, in the order of the destinations, and last one for the source.
VerifyOperations verifyOperations(const CopyJobOptions& options, const CopyPlan& plan,
                                  const RVXSourceFile& file, const std::string& digest,
                                  uint64_t bytesVerified) {
  VerifyOperations operations;
  const auto add = [&](const std::string& path) {
    operations.push_back(RVXVerifyOperation::initWithPath(path, digest, options.algorithm, options.verbose));
    const auto checksum = operations.back()->generateChecksumOperation();
    checksum->setAllFilesSize(static_cast<int64_t>(plan.allFilesSize));
    checksum->setSizeOfAllFilesProcessed(static_cast<int64_t>(bytesVerified));
  };
  for (const auto& copy : file.copies) add(copy.path);
  add(file.path);
  return operations;
}

void runSideBySide(const VerifyOperations& operations) {
  RVXOperationQueue queue;
  for (const auto& operation : operations) {
    queue.addOperation([&operation] { operation->main(); });
  }
  queue.waitUntilAllOperationsAreFinished();
}

// What was read back is safe only if it still lies at the path: while a copy is open, it may be removed or
// replaced, or its folder renamed.
bool isInItsPlace(const RVXGenerateChecksumOperation& checksum) {
  return isItem(checksum.path(), checksum.identity());
}

void reportResults(const CopyJobOptions& options, const CopyPlan& plan, const RVXSourceFile& file, uint64_t i,
                   const VerifyOperations& operations) {
  const auto source = operations.back()->generateChecksumOperation()->identity();
  int place = 0;  // in this file's list; what drivers read after the "#"
  for (const auto& operation : operations) {
    ++place;
    const auto checksum = operation->generateChecksumOperation();
    const std::string path = checksum->path();
    const bool isSource = path == file.path;
    const char* const label = isSource ? "source" : "destination";
    // A destination folder that was replaced by a link to the source's folder would show the source instead
    // of the copy.
    const bool isSourceInstead = !isSource && checksum->identity() == source;
    if (operation->isFailed() || !isInItsPlace(*checksum) || isSourceInstead) {
      print("ERROR: verify of %s file #%d (%s) failed, wrong hash.\n", label, place, path.c_str());
      endProcess(ExitStatus::wrongHash);
    }
    if (!options.verbose) continue;
    if (plan.sequence) {
      print("verify of %s file %d of %lu of sequence #%u (%s) ok.\n", label, static_cast<int>(i + 1),
            static_cast<unsigned long>(plan.fileCount), static_cast<unsigned>(place), path.c_str());
    } else {
      print("verify of %s file #%d (%s) ok.\n", label, place, path.c_str());
    }
  }
}

}  // namespace

void runVerifyPhase(const CopyJobOptions& options, const CopyPlan& plan, const RVXHashList& hashList) {
  announceVerification(options, plan);
  uint64_t bytesVerified = 0;
  for (uint64_t i = 0; i < plan.fileCount; ++i) {
    const RVXSourceFile file = RVXSourceFile::ofPlan(options, plan, i);
    const VerifyOperations operations =
        verifyOperations(options, plan, file, expectedDigest(options, hashList, file), bytesVerified);
    runSideBySide(operations);
    reportResults(options, plan, file, i, operations);
    bytesVerified += static_cast<uint64_t>(operations.back()->generateChecksumOperation()->fileSize());
  }
}

void reportUnverifiedCopies(const CopyJobOptions& options, const CopyPlan& plan) {
  for (uint64_t i = 0; i < plan.fileCount; ++i) {
    const RVXSourceFile file = RVXSourceFile::ofPlan(options, plan, i);
    for (const auto& copy : file.copies) {
      if (!fileExists(copy.path)) {
        print("Copy failed for destination file (%s)\n", copy.path.c_str());
        endProcess(ExitStatus::destinationFileMissing);
      }
      print("Copy completed successfully for destination file (%s)\n", copy.path.c_str());
    }
  }
}

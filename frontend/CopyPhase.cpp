#include "frontend/CopyPhase.h"

#include "copy/RVXCopyOperationThreaded.h"
#include "copy/RVXFlushGroup.h"
#include "copy/WriteFailure.h"
#include "frontend/CopyError.h"
#include "frontend/OverwriteGuard.h"
#include "frontend/RVXSourceFile.h"
#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "platform/threads/RVXOperationQueue.h"

namespace {

// Copies one file and returns its size in bytes.
uint64_t copyFile(const CopyJobOptions& options, const CopyPlan& plan, const RVXSourceFile& file,
                  uint64_t bytesCopied, RVXHashList& hashList, RVXFlushGroup& flushGroup) {
  std::vector<std::string> filenames;
  for (const auto& copy : file.copies) filenames.push_back(copy.name);
  const auto operation = RVXCopyOperationThreaded::initWithSourcePath(
      file.path, plan.destinationPaths, filenames, options.forceOverwrite, options.skipVerification);
  operation->setVerbose(options.verbose);
  operation->setAlgorithm(options.algorithm);
  operation->setAllFilesSize(static_cast<int64_t>(plan.allFilesSize));
  operation->setSizeOfAllFilesProcessed(static_cast<int64_t>(bytesCopied));
  operation->main();
  if (operation->isFailed()) endProcessOnCopyError(*operation->error());
  if (!options.skipVerification) {
    hashList.addHash(operation->hash().value_or(""), hashAlgorithmLabel(options.algorithm), file.hashListKey);
  }
  flushGroup.add(operation->takeCopies());
  return static_cast<uint64_t>(operation->fileSize());
}

// A copy is safe from a power cut only when its name is, too. Each folder is synced once for all its files,
// and all of them side by side, because that is slow.
void syncDestinationFolders(const CopyPlan& plan) {
  const auto& folders = plan.destinationPaths;
  std::vector<RVXOutcome<>> synced(folders.size());
  RVXOperationQueue queue;
  for (size_t k = 0; k < folders.size(); ++k) {
    queue.addOperation([&outcome = synced[k], &folder = folders[k]] { outcome = syncFolder(folder); });
  }
  queue.waitUntilAllOperationsAreFinished();
  for (size_t k = 0; k < folders.size(); ++k) {
    if (synced[k].failed()) endProcessOnWriteFailure(synced[k].failure(), folders[k]);
  }
}

}  // namespace

void runCopyPhase(const CopyJobOptions& options, const CopyPlan& plan, RVXHashList& hashList) {
  if (options.verbose) print("INFO: copying %s...\n", sourceFolder(options).c_str());
  refuseToOverwriteSources(options, plan);
  RVXFlushGroup flushGroup;
  uint64_t bytesCopied = 0;
  for (uint64_t i = 0; i < plan.fileCount; ++i) {
    bytesCopied +=
        copyFile(options, plan, RVXSourceFile::ofPlan(options, plan, i), bytesCopied, hashList, flushGroup);
  }
  flushGroup.flush();
  syncDestinationFolders(plan);
}

#include "frontend/CopyPhase.h"

#include "copy/RVXCopyOperationThreaded.h"
#include "copy/RVXFlushGroup.h"
#include "copy/RVXWriteFailure.h"
#include "frontend/CopyError.h"
#include "frontend/OverwriteGuard.h"
#include "frontend/RVXSourceFile.h"
#include "include/Print.h"
#include "platform/files/RVXFileSystem.h"

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
// because that is slow.
void syncDestinationFolders(const CopyPlan& plan) {
  for (const std::string& folder : plan.destinationPaths) {
    const auto synced = syncFolder(folder);
    if (synced.failed()) endProcessOnWriteFailure(synced.failure(), folder);
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

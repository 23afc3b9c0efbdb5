#include "frontend/CopyPhase.h"

#include "copy/RVXCopyOperationThreaded.h"
#include "copy/RVXWriteFailure.h"
#include "frontend/CopyError.h"
#include "frontend/OverwriteGuard.h"
#include "include/EndProcess.h"
#include "include/Print.h"
#include "platform/RVXFileSystem.h"
#include "platform/RVXPathText.h"

namespace {

std::vector<std::string> filenamesAtDestinations(const CopyPlan& plan, const std::string& file) {
  std::vector<std::string> names;
  for (size_t k = 0; k < plan.destinationPaths.size(); ++k)
    names.push_back(destinationFilename(plan, k, file));
  return names;
}

// Copies one file and returns its size in bytes.
uint64_t copyFile(const CopyJobOptions& options, const CopyPlan& plan, const std::string& file,
                  uint64_t bytesCopied, RVXHashList& hashList) {
  const std::string algorithmName = hashAlgorithmLabel(options.algorithm);
  const auto operation = RVXCopyOperationThreaded::initWithSourcePath(
      file, plan.destinationPaths, filenamesAtDestinations(plan, file), options.forceOverwrite,
      options.skipVerification);
  operation->setVerbose(options.verbose);
  operation->setAlgorithm(options.algorithm);
  operation->setAllFilesSize(static_cast<int64_t>(plan.allFilesSize));
  operation->setSizeOfAllFilesProcessed(static_cast<int64_t>(bytesCopied));
  operation->main();
  if (operation->isFailed()) endProcessOnCopyError(*operation->error());
  if (!options.skipVerification) {
    hashList.addHash(operation->hash().value_or(""), algorithmName, hashListKey(file));
  }
  return static_cast<uint64_t>(operation->fileSize());
}

// A copy is only safe from a power cut when its name is, too. Once for all files: a folder's sync is slow.
void syncDestinationFolders(const CopyPlan& plan) {
  for (const std::string& folder : plan.destinationPaths) {
    if (const auto failure = syncFolder(folder)) endProcessOnWriteFailure(*failure, folder);
  }
}

}  // namespace

void runCopyPhase(const CopyJobOptions& options, const CopyPlan& plan, RVXHashList& hashList) {
  if (options.verbose) print("INFO: copying %s...\n", sourceFolder(options).c_str());
  refuseToOverwriteSources(options, plan);
  uint64_t bytesCopied = 0;
  for (uint64_t i = 0; i < plan.fileCount; ++i) {
    bytesCopied += copyFile(options, plan, sourceFile(options, plan, i), bytesCopied, hashList);
  }
  syncDestinationFolders(plan);
}

#include "frontend/CopyPhase.h"

#include <set>

#include "copy/RVXCopyOperationThreaded.h"
#include "copy/RVXWriteFailure.h"
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

[[noreturn]] void endProcessOnCopyError(const RVXError& error) {
  // Drivers read the "i" behind the number; there is no line end.
  print("ERROR: %s (%di)", error.description.c_str(), error.code);
  endProcess(static_cast<ExitStatus>(error.code));
}

[[noreturn]] void endProcessOnRefusedDestination(size_t k) {
  endProcessOnCopyError(RVXError::copyDestinationNotOpened(static_cast<unsigned>(k + 1)));
}

// "day_1-3##/clip.mov": every frame's copy would be the one before.
void refuseFramesOfOneName(const RVXFileSequence& sequence) {
  std::string previousName;
  visitExistingFrames(sequence, [&](const std::string& file) {
    const std::string name = lastPathComponent(file);
    if (name == previousName) endProcessOnRefusedDestination(0);
    previousName = name;
  });
}

std::set<RVXFileIdentity> filesOfFrames(const RVXFileSequence& sequence) {
  std::set<RVXFileIdentity> files;
  const bool areAllSeen = visitExistingFrames(sequence, [&](const std::string& file) {
    if (const auto source = attributesOfTarget(file)) files.insert(source->identity);
  });
  // A run with a missing frame ends with this anyhow, but the frames behind the gap were not looked at.
  if (!areAllSeen) endProcessOnCopyError(RVXError::copySourceNotOpened());
  return files;
}

// Each copy operation looks after its own source and its own copies; that a copy is no other frame's source,
// nor another frame's copy, is seen only here. Without the leave to overwrite, nothing that exists is touched
// anyhow.
void refuseToOverwriteFrames(const CopyJobOptions& options, const CopyPlan& plan) {
  if (!plan.sequence || !options.forceOverwrite) return;
  refuseFramesOfOneName(*plan.sequence);
  std::set<RVXFileIdentity> taken = filesOfFrames(*plan.sequence);
  visitExistingFrames(*plan.sequence, [&](const std::string& file) {
    for (size_t k = 0; k < plan.destinationPaths.size(); ++k) {
      const std::string path = destinationFile(plan, k, file);
      const auto copy = attributesOfTarget(path);
      const bool isTaken = copy && copy->isOnStorage() && !taken.insert(copy->identity).second;
      // What a link to nothing will create may be the next frame's copy.
      if (isTaken || (!copy && attributesOfItem(path))) endProcessOnRefusedDestination(k);
    }
  });
}

// Copies one file and returns its size in bytes.
uint64_t copyFile(const CopyJobOptions& options, const CopyPlan& plan, const std::string& file,
                  uint64_t bytesCopied, RVXHashList& hashList) {
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
    hashList.addHash(operation->hash().value_or(""), hashAlgorithmLabel(options.algorithm),
                     hashListKey(file));
  }
  return static_cast<uint64_t>(operation->fileSize());
}

// A copy is only safe from a power cut when its name is, too. Once for all files: a folder's sync is dear.
void syncDestinationFolders(const CopyPlan& plan) {
  for (const std::string& folder : plan.destinationPaths) {
    if (const auto failure = syncFolder(folder)) endProcessOnWriteFailure(*failure, folder);
  }
}

}  // namespace

void runCopyPhase(const CopyJobOptions& options, const CopyPlan& plan, RVXHashList& hashList) {
  if (options.verbose) print("INFO: copying %s...\n", sourceFolder(options).c_str());
  refuseToOverwriteFrames(options, plan);
  uint64_t bytesCopied = 0;
  for (uint64_t i = 0; i < plan.fileCount; ++i) {
    bytesCopied += copyFile(options, plan, sourceFile(options, plan, i), bytesCopied, hashList);
  }
  syncDestinationFolders(plan);
}

#include "frontend/HashListPhase.h"

#include "frontend/RVXSourceFile.h"
#include "include/EndProcess.h"
#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"

namespace {

// True when the item at `path` is one of the run's source files or copies. A list written there would replace
// it after it was verified.
bool isSourceOrCopy(const std::string& path, const CopyJobOptions& options, const CopyPlan& plan) {
  const auto item = attributesOfItem(path);
  if (item.failed()) return false;
  for (uint64_t i = 0; i < plan.fileCount; ++i) {
    const RVXSourceFile file = RVXSourceFile::ofPlan(options, plan, i);
    if (isItem(file.path, item.value().identity)) return true;
    for (const auto& copy : file.copies) {
      if (isItem(copy.path, item.value().identity)) return true;
    }
  }
  return false;
}

}  // namespace

void runHashListPhase(const CopyJobOptions& options, const CopyPlan& plan, RVXHashList& hashList) {
  const std::string algorithmName = lowerCaseHashAlgorithmLabel(options.algorithm);
  for (size_t k = 0; k < plan.destinationPaths.size(); ++k) {
    const std::string folder = pathByAppendingComponent(plan.destinationPaths[k], algorithmName);
    // Without the folders above it: where the destination's own folder is gone, so are the copies.
    if (createFolder(folder).failed()) {
      print("ERROR: Can't create folder for hashes (%s).\n", folder.c_str());
      endProcess(ExitStatus::hashFolderNotCreated);
    }
    const std::string path =
        pathByAppendingComponent(folder, plan.destinationFilenames[k]) + "." + algorithmName;
    if (isSourceOrCopy(path, options, plan) || !hashList.writeToFile(path, true)) {
      print("ERROR: Can't write hash file (%s).\n", path.c_str());
      endProcess(ExitStatus::hashListNotWritten);
    }
  }
}

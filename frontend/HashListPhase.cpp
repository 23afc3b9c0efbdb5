#include "frontend/HashListPhase.h"

#include "include/EndProcess.h"
#include "include/Print.h"
#include "platform/RVXFileSystem.h"
#include "platform/RVXPathText.h"

void runHashListPhase(const CopyJobOptions& options, const CopyPlan& plan, RVXHashList& hashList) {
  const std::string label = lowerCaseHashAlgorithmLabel(options.algorithm);
  for (size_t k = 0; k < plan.destinationPaths.size(); ++k) {
    const std::string folder = pathByAppendingComponent(plan.destinationPaths[k], label);
    if (createFolderWithIntermediates(folder)) {
      print("ERROR: Can't create folder for hashes (%s).\n", folder.c_str());
      endProcess(ExitStatus::hashFolderNotCreated);
    }
    const std::string path =
        pathByAppendingExtension(pathByAppendingComponent(folder, plan.destinationFilenames[k]), label);
    if (!hashList.writeToFile(path, true)) {
      print("ERROR: Can't write hash file (%s).\n", path.c_str());
      endProcess(ExitStatus::hashListNotWritten);
    }
  }
}

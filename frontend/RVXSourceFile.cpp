#include "frontend/RVXSourceFile.h"

#include "platform/files/PathText.h"

RVXSourceFile RVXSourceFile::ofPlan(const CopyJobOptions& options, const CopyPlan& plan, uint64_t index) {
  return ofPlan(plan, plan.sequence ? *plan.sequence->filenameForIndex(index) : options.sourceArgument);
}

RVXSourceFile RVXSourceFile::ofPlan(const CopyPlan& plan, const std::string& path) {
  const std::string ownName = lastPathComponent(path);
  RVXSourceFile file{path, "../" + ownName, {}};
  for (size_t k = 0; k < plan.destinationPaths.size(); ++k) {
    const std::string& name = plan.sequence ? ownName : plan.destinationFilenames[k];
    file.copies.push_back({name, pathByAppendingComponent(plan.destinationPaths[k], name)});
  }
  return file;
}

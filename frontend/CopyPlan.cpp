#include "frontend/CopyPlan.h"

#include "include/EndProcess.h"
#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"

namespace {

// With fewer frames than this there is nothing to gain from measuring only three of them.
constexpr uint64_t kFewestEstimatedFrames = 4;

std::string relativeFolderOf(const CopyJobOptions& options) {
  std::string folder = sourceFolder(options);
  std::string relativeFolder;
  for (int level = 0; level < options.preserveDepth && !folder.empty(); ++level) {
    relativeFolder = pathByAppendingComponent(lastPathComponent(folder), relativeFolder);
    folder = pathWithoutLastComponent(folder);
  }
  return relativeFolder;
}

void createDestinationFolder(const std::string& folder, size_t k) {
  if (createFolderWithIntermediates(folder).succeeded()) return;
  print("ERROR: Can't create destination folder #%u (%s).\n", static_cast<unsigned>(k), folder.c_str());
  endProcess(ExitStatus::destinationFolderNotCreated);
}

void planDestinations(const CopyJobOptions& options, CopyPlan& plan) {
  plan.relativeFolder = relativeFolderOf(options);
  size_t k = 0;
  for (const std::string& argument : options.destinationArguments) {
    const bool isFolderArgument = argument.ends_with('/');
    const std::string folder = isFolderArgument ? argument : pathWithoutLastComponent(argument);
    const std::string targetFolder = pathByAppendingComponent(folder, plan.relativeFolder);
    createDestinationFolder(targetFolder, ++k);
    plan.destinationPaths.push_back(targetFolder);
    plan.destinationFilenames.push_back(
        lastPathComponent(isFolderArgument ? options.sourceArgument : argument));
  }
}

uint64_t frameSize(const RVXFileSequence& sequence, uint64_t index) {
  return filesizeCFI(*sequence.filenameForIndex(index));
}

uint64_t sizeOfAllFrames(const RVXFileSequence& sequence) {
  const uint64_t count = sequence.duration();
  if (count >= kFewestEstimatedFrames) {
    const uint64_t size = frameSize(sequence, 0);
    if (size == frameSize(sequence, count / 2) && size == frameSize(sequence, count - 1)) return size * count;
  }
  uint64_t sum = 0;
  visitExistingFrames(sequence, [&](const std::string& path) { sum += filesizeCFI(path); });
  return sum;
}

}  // namespace

CopyPlan planCopy(const CopyJobOptions& options, const std::optional<RVXFileSequence>& sequence) {
  CopyPlan plan;
  plan.sequence = sequence;
  planDestinations(options, plan);
  plan.fileCount = sequence ? sequence->duration() : 1;
  plan.allFilesSize = sequence ? sizeOfAllFrames(*sequence) : filesizeCFI(options.sourceArgument);
  return plan;
}

void visitExistingFrames(const RVXFileSequence& sequence,
                         const std::function<void(const std::string& path)>& visit) {
  uint64_t missing = 0;
  for (uint64_t i = 0; i < sequence.duration() && missing < kMostMissingFrames; ++i) {
    const std::string path = *sequence.filenameForIndex(i);
    if (attributesOfItem(path).succeeded()) {
      missing = 0;
      visit(path);
    } else {
      ++missing;
    }
  }
}

std::string sourceFolder(const CopyJobOptions& options) {
  return pathWithoutLastComponent(options.sourceArgument);
}

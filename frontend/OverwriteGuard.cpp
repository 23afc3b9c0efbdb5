#include "frontend/OverwriteGuard.h"

#include <set>
#include <utility>
#include <vector>

#include "frontend/CopyError.h"
#include "platform/RVXFileSystem.h"

void refuseToOverwriteSources(const CopyJobOptions& options, const CopyPlan& plan) {
  if (!plan.sequence || !options.forceOverwrite) return;
  std::set<RVXFileIdentity> sources;
  std::vector<std::pair<RVXFileIdentity, unsigned>>
      copies;  // those that exist, each with its destination's number
  visitExistingFrames(*plan.sequence, [&](const std::string& file) {
    const auto source = attributesOfItem(file);
    // A link is copied as a link, which is written over nothing.
    if (!source || source->type == RVXFileType::symbolicLink) return;
    sources.insert(source->identity);
    for (size_t k = 0; k < plan.destinationPaths.size(); ++k) {
      const auto copy = attributesOfItem(destinationFile(plan, k, file));
      if (copy) copies.emplace_back(copy->identity, static_cast<unsigned>(k + 1));
    }
  });
  for (const auto& [copy, number] : copies) {
    if (sources.contains(copy)) endProcessOnCopyError(RVXError::copyDestinationNotOpened(number));
  }
}

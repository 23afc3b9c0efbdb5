#include "frontend/OverwriteGuard.h"

#include <set>
#include <utility>
#include <vector>

#include "frontend/CopyError.h"
#include "frontend/RVXSourceFile.h"
#include "platform/files/FileSystem.h"

void refuseToOverwriteSources(const CopyJobOptions& options, const CopyPlan& plan) {
  if (!plan.sequence || !options.forceOverwrite) return;
  std::set<RVXFileIdentity> sources;
  // The copies that exist, each with its destination's number.
  std::vector<std::pair<RVXFileIdentity, unsigned>> copies;
  visitExistingFrames(*plan.sequence, [&](const std::string& path) {
    const auto source = attributesOfItem(path);
    // A link is copied as a link, which overwrites nothing.
    if (source.failed() || source.value().type == RVXFileType::symbolicLink) return;
    sources.insert(source.value().identity);
    unsigned number = 0;
    for (const auto& place : RVXSourceFile::ofPlan(plan, path).copies) {
      ++number;
      const auto copy = attributesOfItem(place.path);
      if (copy.succeeded()) copies.emplace_back(copy.value().identity, number);
    }
  });
  for (const auto& [copy, number] : copies) {
    if (sources.contains(copy)) endProcessOnCopyError(RVXError::copyDestinationNotOpened(number));
  }
}

#include "check/RVXFolderWalk.h"

#include <vector>

#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/system/RVXInterruption.h"

void RVXFolderWalk::walk(const RVXNameTree& names, RVXNode root, const RVXIgnoredNames& ignored) {
  std::vector<RVXNode> folders = {root};
  while (!folders.empty() && !RVXInterruption::signalNumber()) {
    const RVXNode folder = folders.back();
    folders.pop_back();
    const std::string below = ignored.needsPath() ? names.pathBelowRoot(folder) : "";
    const auto done = readFolder(names.path(folder), [&](const char* entry, RVXFileType type) {
      const std::string name = entry;
      if (ignored.contains(name, ignored.needsPath() ? pathByAppendingComponent(below, name) : "")) return;
      if (type != RVXFileType::folder) {
        foundFile(folder, name, type);
        return;
      }
      const RVXNode entered = enterFolder(folder, name);
      if (entered != RVXNameTree::kNone) folders.push_back(entered);
    });
    if (done.failed()) foundUnreadableFolder(folder, done.failure());
  }
}

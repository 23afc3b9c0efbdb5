#include "check/RVXFolderWalk.h"

#include <vector>

#include "platform/files/RVXFileSystem.h"
#include "platform/files/RVXPathText.h"
#include "platform/system/RVXInterruption.h"

void RVXFolderWalk::walk(RVXNode root) {
  std::vector<RVXNode> folders = {root};
  while (!folders.empty() && !RVXInterruption::signalNumber()) {
    const RVXNode folder = folders.back();
    folders.pop_back();
    const std::string below = mIgnored.needsPath() ? mNames.pathBelowRoot(folder) : "";
    const auto done = readFolder(mNames.path(folder), [&](const char* entry, RVXFileType type) {
      const std::string name = entry;
      if (mIgnored.contains(name, mIgnored.needsPath() ? pathByAppendingComponent(below, name) : "")) return;
      if (type != RVXFileType::folder) {
        mVisitor.foundFile(folder, name, type);
        return;
      }
      const RVXNode entered = mVisitor.enterFolder(folder, name);
      if (entered != RVXNameTree::kNone) folders.push_back(entered);
    });
    if (done.failed()) mVisitor.foundUnreadableFolder(folder, done.failure());
  }
}

#pragma once

#include <string>

#include "check/RVXIgnoredNames.h"
#include "check/RVXNameTree.h"
#include "platform/files/RVXFileAttributes.h"
#include "platform/files/RVXIOFailure.h"

// Finds what lies below a folder, ignored names aside. Links are not followed.
class RVXFolderWalk {
 public:
  virtual ~RVXFolderWalk() = default;

 protected:
  // Ends early when the user interrupts the run.
  void walk(const RVXNameTree& names, RVXNode root, const RVXIgnoredNames& ignored);

 private:
  // A folder; the answer is the node under which it is to be walked, kNone to pass it by.
  virtual RVXNode enterFolder(RVXNode parent, const std::string& name) = 0;
  virtual void foundFile(RVXNode parent, const std::string& name, RVXFileType type) = 0;
  virtual void foundUnreadableFolder(RVXNode folder, const RVXIOFailure& failure) = 0;
};

#pragma once

#include <string>

#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXOutcome.h"

// A new file or folder that nobody is to see before it is complete: it begins under a name of its own in the
// folder in which it is to lie, ".rvxcopy-N-N.tmp", short enough to fit wherever another name does. Until it
// is kept, it is removed again with the object, also under the name that it was given meanwhile; a folder
// only when it is empty by then.
class RVXNewItem {
 public:
  RVXNewItem() = default;  // nothing
  RVXNewItem(RVXNewItem&& other) noexcept;
  RVXNewItem& operator=(RVXNewItem&& other) noexcept;
  ~RVXNewItem();

  // A folder in the folder at `parent` (empty: the current one).
  static RVXOutcome<RVXNewItem> makeFolderIn(const std::string& parent);
  // A file, which `handle` then has open for writing.
  static RVXOutcome<RVXNewItem> makeFileIn(const std::string& parent, RVXFileHandle& handle);

  // Where it is by now.
  [[nodiscard]] const std::string& path() const { return mPath; }

  // Gives it its name. EEXIST where anything is there. Where the file system can't promise that at once
  // (RENAME_NOREPLACE), it is looked before.
  RVXOutcome<> moveTo(const std::string& path);
  // The same in the place of what is there, and keeps it: the other one is gone.
  RVXOutcome<> replace(const std::string& path);

  void keep() { mPath.clear(); }

 private:
  explicit RVXNewItem(std::string path) : mPath(std::move(path)) {}

  std::string mPath;  // empty: nothing to remove
};

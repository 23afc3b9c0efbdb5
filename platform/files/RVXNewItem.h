#pragma once

#include <string>

#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXOutcome.h"

// A new file or folder that nobody is to see before it is complete. It begins under a temporary name,
// ".rvxcopy-N-N.tmp", in the folder in which it is to lie; the name is short enough for every file system.
// Until it is kept, it is removed together with this object, also under the name that it was given meanwhile;
// a folder only when it is empty by then.
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

  // Gives it its name. EEXIST where anything has that name. Where the file system can't check this in the
  // same step (RENAME_NOREPLACE), it is checked before.
  RVXOutcome<> moveTo(const std::string& path);
  // Gives it its name, replacing what has that name, and keeps it.
  RVXOutcome<> replace(const std::string& path);

  void keep() { mPath.clear(); }

 private:
  explicit RVXNewItem(std::string path) : mPath(std::move(path)) {}

  std::string mPath;  // empty: nothing to remove
};

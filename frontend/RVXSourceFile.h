#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frontend/CopyJobOptions.h"
#include "frontend/CopyPlan.h"

// One source file of a run, and what becomes of it at each destination.
struct RVXSourceFile {
  struct Copy {
    std::string name;  // a frame's is always its own
    std::string path;
  };

  std::string path;
  // Its name in the hash list, relative to the list's folder, which lies in the destination folder. This is
  // the source's own name, even if the copy was given another.
  std::string hashListKey;
  std::vector<Copy> copies;  // one for each destination, in order

  // The file with that index, from 0 and below the plan's file count.
  static RVXSourceFile ofPlan(const CopyJobOptions& options, const CopyPlan& plan, uint64_t index);
  // The same for the file with that path.
  static RVXSourceFile ofPlan(const CopyPlan& plan, const std::string& path);
};

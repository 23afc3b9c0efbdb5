#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "formats/RVXFileSequence.h"
#include "frontend/CopyJobOptions.h"

// What is copied, and where to. Filled once, read-only afterwards. Entry k of the two destination lists
// belongs to destination argument k.
struct CopyPlan {
  std::optional<RVXFileSequence> sequence;        // none for a movie
  uint64_t fileCount = 0;                         // 1 for a movie, the duration of a sequence
  std::string relativeFolder;                     // the source folders that are rebuilt at each destination
  std::vector<std::string> destinationPaths;      // the folders that receive the files
  std::vector<std::string> destinationFilenames;  // the names to use there, and of the hash lists
  uint64_t allFilesSize = 0;                      // bytes; for long sequences an estimate
};

// The whole plan. Tells folders from file names (only a trailing "/" makes a folder), and creates each folder
// with `relativeFolder` in it. On a failure it prints "ERROR: Can't create destination folder #%u (%s).\n"
// and ends the process with ExitStatus::destinationFolderNotCreated; earlier folders stay. Then it counts the
// files and their bytes. A sequence of more than three frames whose first, middle and last frame are equally
// large is taken to have only frames of that size. Otherwise every frame is looked at; those after a gap of
// kMostMissingFrames do not count.
CopyPlan planCopy(const CopyJobOptions& options, const std::optional<RVXFileSequence>& sequence);

// Calls `visit` with the path of each frame that exists, in order. An identifier may name two billion frames,
// so after kMostMissingFrames missing ones in a row no further frame is looked for.
inline constexpr uint64_t kMostMissingFrames = 100'000;
void visitExistingFrames(const RVXFileSequence& sequence,
                         const std::function<void(const std::string& path)>& visit);

// The folder of the source argument, as text.
std::string sourceFolder(const CopyJobOptions& options);

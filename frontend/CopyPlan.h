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

// The whole plan. Creates the destination folders: see planDestinations().
CopyPlan planCopy(const CopyJobOptions& options, const std::optional<RVXFileSequence>& sequence);

// The two steps of planCopy(), which expect the plan's sequence to be set.
// planDestinations() tells folders from file names (only a trailing "/" makes a folder), and creates each
// folder with `relativeFolder` in it. On a failure it prints "ERROR: Can't create destination folder #%u
// (%s).\n" and ends the process with ExitStatus::destinationFolderNotCreated; earlier folders stay.
void planDestinations(const CopyJobOptions& options, CopyPlan& plan);
// planSources() counts the files and their bytes. A sequence of more than three frames whose first, middle
// and last frame are equally large is taken to have only frames of that size; otherwise frames behind a gap
// of kMostMissingFrames do not count.
void planSources(const CopyJobOptions& options, CopyPlan& plan);

// The source file with that index, from 0 and below the file count.
std::string sourceFile(const CopyJobOptions& options, const CopyPlan& plan, uint64_t index);

// Calls `visit` with the path of each frame that exists, in order. An identifier may name two billion frames,
// so after kMostMissingFrames missing ones in a row no further frame is looked for.
inline constexpr uint64_t kMostMissingFrames = 100'000;
void visitExistingFrames(const RVXFileSequence& sequence,
                         const std::function<void(const std::string& path)>& visit);

// The folder of the source argument, as text.
std::string sourceFolder(const CopyJobOptions& options);

// The name under which destination k receives that source file: for a sequence always the frame's own.
std::string destinationFilename(const CopyPlan& plan, size_t k, const std::string& sourceFile);

// The whole path of that copy.
std::string destinationFile(const CopyPlan& plan, size_t k, const std::string& sourceFile);

// The name of a source file in the hash list, relative to the list's folder, which lies one level below the
// destination folder. It is the source's own name also where the copy was given another.
std::string hashListKey(const std::string& sourceFile);

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/files/RVXFileAttributes.h"
#include "platform/files/RVXOutcome.h"

// Files and folders by their path. An empty path of a folder means the current folder.

// The attributes of the item itself, a final link not followed.
RVXOutcome<RVXFileAttributes> attributesOfItem(const std::string& path);

// The attributes of what the path leads to, links followed.
RVXOutcome<RVXFileAttributes> attributesOfTarget(const std::string& path);

// Is it the same file? isItem(): the item itself at `path` is that one. leadsTo(): `path` leads to it, by
// whatever name or link. False where nothing can be examined at `path`, or `identity` is absent.
bool isItem(const std::string& path, const std::optional<RVXFileIdentity>& identity);
bool leadsTo(const std::string& path, const std::optional<RVXFileIdentity>& identity);

// Both follow links: a link to nothing does not exist.
bool fileExists(const std::string& path);
bool isFolder(const std::string& path);
// Whether the item itself is a link.
bool isSymbolicLink(const std::string& path);

// The size in bytes of the item itself; 0 for one that is missing or can't be examined.
uint64_t filesizeCFI(const std::string& path);

// Creates the folder, and no more. EEXIST where anything is there.
RVXOutcome<> makeFolder(const std::string& path);

// Creates the folder and hands its name to the storage. That the folder exists already is a success.
RVXOutcome<> createFolder(const std::string& path);

// The same with all missing intermediate folders.
RVXOutcome<> createFolderWithIntermediates(const std::string& path);

// Hands the names in a folder to the storage (fsync of the folder). It is no failure when the file system has
// no such sync.
RVXOutcome<> syncFolder(const std::string& path);

// Calls `take` with each entry of the folder, in no order, "." and ".." left out, and with the type of the
// entry itself, a link not followed; one that can't be examined counts as a regular file. Fails where the
// folder, or the rest of it, can't be listed.
RVXOutcome<> readFolder(const std::string& path,
                        const std::function<void(const char* name, RVXFileType type)>& take);

// The names of the folder's entries, sorted; "." and ".." are left out. Empty when it can't be listed.
std::vector<std::string> folderEntries(const std::string& path);

// The target text as stored in the link.
RVXOutcome<std::string> linkTarget(const std::string& path);

// Fails when anything, even a link to nothing, stands at `path`.
RVXOutcome<> createSymbolicLink(const std::string& target, const std::string& path);

// The path of what `path` leads to, absolute and without links; none where there is nothing.
std::optional<std::string> realPath(const std::string& path);

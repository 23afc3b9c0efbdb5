#include "platform/files/RVXFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <system_error>

#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXPathText.h"
#include "platform/files/RVXTransfer.h"

namespace {

constexpr mode_t kNewFolderPermissions = 0777;  // less the umask

std::string folderPath(const std::string& path) {
  return path.empty() ? "." : path;
}

}  // namespace

std::optional<RVXFileAttributes> attributesOfItem(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
  return attributesFromStatus(status);
}

std::optional<RVXFileAttributes> attributesOfTarget(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return attributesFromStatus(status);
}

bool isItem(const std::string& path, const std::optional<RVXFileIdentity>& identity) {
  const auto attributes = attributesOfItem(path);
  return attributes && attributes->identity == identity;
}

bool leadsTo(const std::string& path, const std::optional<RVXFileIdentity>& identity) {
  const auto attributes = attributesOfTarget(path);
  return attributes && attributes->identity == identity;
}

bool fileExists(const std::string& path) {
  return attributesOfTarget(path).has_value();
}

bool isFolder(const std::string& path) {
  const auto attributes = attributesOfTarget(folderPath(path));
  return attributes && attributes->type == RVXFileType::folder;
}

uint64_t filesizeCFI(const std::string& path) {
  const auto attributes = attributesOfItem(path);
  return attributes ? static_cast<uint64_t>(attributes->size) : 0;
}

std::optional<RVXIOFailure> createFolderWithIntermediates(const std::string& path) {
  if (path.size() >= PATH_MAX) return failureFromErrno(ENAMETOOLONG);
  if (isFolder(path)) return std::nullopt;
  const std::string parent = pathWithoutLastComponent(path);
  if (parent != path) {
    if (auto failure = createFolderWithIntermediates(parent)) return failure;
  }
  return createFolder(path);
}

std::optional<RVXIOFailure> createFolder(const std::string& path) {
  if (isFolder(path)) return std::nullopt;
  if (::mkdir(path.c_str(), kNewFolderPermissions) != 0) {
    const RVXIOFailure failure = failureFromErrno();
    // Another program may have been faster; "a/." can't be made and is there all the same.
    return isFolder(path) ? std::nullopt : std::optional(failure);
  }
  return syncFolder(pathWithoutLastComponent(path));
}

std::optional<RVXIOFailure> syncFolder(const std::string& path) {
  RVXFileHandle folder = RVXFileHandle::open(folderPath(path), O_RDONLY | O_DIRECTORY);
  if (!folder.isOpen()) {
    if (errno != EACCES) return failureFromErrno();
    // A folder that may be written but not read (a drop box) can't be synced by itself; everything can.
    ::sync();
    return std::nullopt;
  }
  return syncWholeFile(folder.descriptor());
}

std::vector<std::string> folderEntries(const std::string& path) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (auto entry = std::filesystem::directory_iterator(folderPath(path), ignored);
       entry != std::filesystem::directory_iterator(); entry.increment(ignored)) {
    names.push_back(entry->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::optional<std::string> linkTarget(const std::string& path) {
  std::array<char, PATH_MAX> target;  // no file system keeps a longer target
  const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  if (length < 0) return std::nullopt;
  return std::string(target.data(), static_cast<size_t>(length));
}

std::optional<RVXIOFailure> createSymbolicLink(const std::string& target, const std::string& path) {
  if (::symlink(target.c_str(), path.c_str()) != 0) return failureFromErrno();
  return std::nullopt;
}

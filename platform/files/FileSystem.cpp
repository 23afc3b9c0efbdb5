#include "platform/files/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "platform/files/PathText.h"
#include "platform/files/RVXFileHandle.h"

namespace {

constexpr mode_t kNewFolderPermissions = 0777;  // less the umask

std::string folderPath(const std::string& path) {
  return path.empty() ? "." : path;
}

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

RVXFileType typeOf(const dirent& entry, const std::string& folder) {
  if (entry.d_type != DT_UNKNOWN) return fileTypeOf(static_cast<mode_t>(DTTOIF(entry.d_type)));
  const auto attributes = attributesOfItem(pathByAppendingComponent(folder, entry.d_name));
  return attributes.succeeded() ? attributes.value().type : RVXFileType::regular;
}

}  // namespace

RVXOutcome<RVXFileAttributes> attributesOfItem(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return failureFromErrno(errno);
  return RVXFileAttributes::of(status);
}

RVXOutcome<RVXFileAttributes> attributesOfTarget(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return failureFromErrno(errno);
  return RVXFileAttributes::of(status);
}

bool isItem(const std::string& path, const std::optional<RVXFileIdentity>& identity) {
  const auto attributes = attributesOfItem(path);
  return attributes.succeeded() && attributes.value().identity == identity;
}

bool leadsTo(const std::string& path, const std::optional<RVXFileIdentity>& identity) {
  const auto attributes = attributesOfTarget(path);
  return attributes.succeeded() && attributes.value().identity == identity;
}

bool fileExists(const std::string& path) {
  return attributesOfTarget(path).succeeded();
}

bool isFolder(const std::string& path) {
  const auto attributes = attributesOfTarget(folderPath(path));
  return attributes.succeeded() && attributes.value().type == RVXFileType::folder;
}

bool isSymbolicLink(const std::string& path) {
  const auto attributes = attributesOfItem(path);
  return attributes.succeeded() && attributes.value().type == RVXFileType::symbolicLink;
}

uint64_t filesizeCFI(const std::string& path) {
  const auto attributes = attributesOfItem(path);
  return attributes.succeeded() ? static_cast<uint64_t>(attributes.value().size) : 0;
}

RVXOutcome<> createFolderWithIntermediates(const std::string& path) {
  if (path.size() >= PATH_MAX) return failureFromErrno(ENAMETOOLONG);
  if (isFolder(path)) return {};
  const std::string parent = pathWithoutLastComponent(path);
  if (parent != path) {
    if (auto created = createFolderWithIntermediates(parent); created.failed()) return created;
  }
  return createFolder(path);
}

RVXOutcome<> makeFolder(const std::string& path) {
  if (::mkdir(path.c_str(), kNewFolderPermissions) != 0) return failureFromErrno(errno);
  return {};
}

RVXOutcome<> createFolder(const std::string& path) {
  if (isFolder(path)) return {};
  if (auto made = makeFolder(path); made.failed()) {
    // Another program may have been faster; "a/." can't be made but is there all the same.
    return isFolder(path) ? RVXOutcome<>() : made;
  }
  return syncFolder(pathWithoutLastComponent(path));
}

RVXOutcome<> syncFolder(const std::string& path) {
  auto opened = RVXFileHandle::open(folderPath(path), O_RDONLY | O_DIRECTORY);
  if (opened.succeeded()) return opened.value().syncWholeFile();
  if (opened.failure().code != EACCES) return opened.failure();
  // A folder that may be written but not read (a drop box) can't be synced by itself; everything can.
  ::sync();
  return {};
}

RVXOutcome<> readFolder(const std::string& path,
                        const std::function<void(const char* name, RVXFileType type)>& take) {
  const Folder folder(::opendir(folderPath(path).c_str()));
  if (!folder) return failureFromErrno(errno);
  while (true) {
    errno = 0;
    const dirent* const entry =
        ::readdir(folder.get());  // NOLINT(concurrency-mt-unsafe): a stream of our own
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") take(entry->d_name, typeOf(*entry, path));
  }
  if (errno != 0) return failureFromErrno(errno);
  return {};
}

std::vector<std::string> folderEntries(const std::string& path) {
  std::vector<std::string> names;
  [[maybe_unused]] const auto ignored =
      readFolder(path, [&](const char* name, RVXFileType /*type*/) { names.emplace_back(name); });
  std::ranges::sort(names);
  return names;
}

RVXOutcome<std::string> linkTarget(const std::string& path) {
  std::array<char, PATH_MAX> target;  // no file system keeps a longer target
  const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  if (length < 0) return failureFromErrno(errno);
  return std::string(target.data(), static_cast<size_t>(length));
}

RVXOutcome<> createSymbolicLink(const std::string& target, const std::string& path) {
  if (::symlink(target.c_str(), path.c_str()) != 0) return failureFromErrno(errno);
  return {};
}

std::optional<std::string> realPath(const std::string& path) {
  struct Free {
    void operator()(char* text) const { std::free(text); }
  };
  const std::unique_ptr<char, Free> resolved(::realpath(folderPath(path).c_str(), nullptr));
  return resolved ? std::optional<std::string>(resolved.get()) : std::nullopt;
}

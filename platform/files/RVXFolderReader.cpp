#include "platform/files/RVXFolderReader.h"

#include <dirent.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "platform/files/RVXFileSystem.h"
#include "platform/files/RVXPathText.h"

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

RVXFileType typeOf(const dirent& entry, const std::string& folder) {
  switch (entry.d_type) {
    case DT_REG:
      return RVXFileType::regular;
    case DT_DIR:
      return RVXFileType::folder;
    case DT_LNK:
      return RVXFileType::symbolicLink;
    case DT_FIFO:
      return RVXFileType::fifo;
    case DT_BLK:
      return RVXFileType::blockDevice;
    case DT_UNKNOWN: {
      const auto attributes = attributesOfItem(pathByAppendingComponent(folder, entry.d_name));
      return attributes.succeeded() ? attributes.value().type : RVXFileType::regular;
    }
    default:
      return RVXFileType::other;
  }
}

}  // namespace

RVXOutcome<> readFolder(const std::string& path,
                        const std::function<void(const char* name, RVXFileType type)>& take) {
  const Folder folder(::opendir(path.empty() ? "." : path.c_str()));
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

std::optional<std::string> realPath(const std::string& path) {
  struct Free {
    void operator()(char* text) const { std::free(text); }
  };
  const std::unique_ptr<char, Free> resolved(::realpath(path.empty() ? "." : path.c_str(), nullptr));
  return resolved ? std::optional<std::string>(resolved.get()) : std::nullopt;
}

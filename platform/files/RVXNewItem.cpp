#include "platform/files/RVXNewItem.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"

namespace {

// Calls `make` with one free name after another; the path that could be made.
template <typename Make>
RVXOutcome<std::string> makeUnderFreeName(const std::string& parent, Make make) {
  for (int attempt = 0;; ++attempt) {
    const std::string name =
        ".rvxcopy-" + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".tmp";
    std::string path = pathByAppendingComponent(parent, name);
    const RVXOutcome<> made = make(path);
    if (made.succeeded()) return path;
    if (made.failure().code != EEXIST) return made.failure();
  }
}

RVXOutcome<> renameItem(const std::string& from, const std::string& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0) return failureFromErrno(errno);
  return {};
}

}  // namespace

RVXNewItem::RVXNewItem(RVXNewItem&& other) noexcept : mPath(std::exchange(other.mPath, {})) {}

RVXNewItem& RVXNewItem::operator=(RVXNewItem&& other) noexcept {
  std::swap(mPath, other.mPath);
  return *this;
}

RVXNewItem::~RVXNewItem() {
  if (!mPath.empty()) std::remove(mPath.c_str());
}

RVXOutcome<RVXNewItem> RVXNewItem::makeFolderIn(const std::string& parent) {
  auto made = makeUnderFreeName(parent, makeFolder);
  if (made.failed()) return made.failure();
  return RVXNewItem(std::move(made).value());
}

RVXOutcome<RVXNewItem> RVXNewItem::makeFileIn(const std::string& parent, RVXFileHandle& handle) {
  auto made = makeUnderFreeName(parent, [&](const std::string& path) -> RVXOutcome<> {
    auto opened = RVXFileHandle::open(path, O_WRONLY | O_CREAT | O_EXCL);
    if (opened.failed()) return opened.failure();
    handle = std::move(opened).value();
    return {};
  });
  if (made.failed()) return made.failure();
  return RVXNewItem(std::move(made).value());
}

RVXOutcome<> RVXNewItem::moveTo(const std::string& path) {
  if (::renameat2(AT_FDCWD, mPath.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) != 0) {
    const RVXIOFailure failure = failureFromErrno(errno);
    if (!failure.meansNotSupported()) return failure;
    if (attributesOfItem(path).succeeded()) return failureFromErrno(EEXIST);
    if (auto renamed = renameItem(mPath, path); renamed.failed()) return renamed;
  }
  mPath = path;
  return {};
}

RVXOutcome<> RVXNewItem::replace(const std::string& path) {
  auto renamed = renameItem(mPath, path);
  if (renamed.succeeded()) keep();
  return renamed;
}

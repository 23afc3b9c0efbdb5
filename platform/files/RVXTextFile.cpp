#include "platform/files/RVXTextFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "platform/files/RVXBlock.h"
#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXFileSystem.h"
#include "platform/files/RVXPathText.h"
#include "platform/files/RVXStorageReader.h"

namespace {

constexpr size_t kReadBackSize = size_t{2} * 1024 * 1024;

struct TemporaryFile {
  std::string path;
  RVXFileHandle handle;
};

// A new file beside `path`. Its name is short, so that it fits wherever the name of `path` does.
RVXOutcome<TemporaryFile> newTemporaryFileBeside(const std::string& path) {
  for (int attempt = 0;; ++attempt) {
    const std::string name =
        ".rvxcopy-" + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".tmp";
    const std::string candidate = pathByAppendingComponent(pathWithoutLastComponent(path), name);
    auto opened = RVXFileHandle::open(candidate, O_WRONLY | O_CREAT | O_EXCL);
    if (opened.succeeded()) return TemporaryFile{candidate, std::move(opened).value()};
    if (opened.failure().code != EEXIST) return opened.failure();
  }
}

RVXOutcome<> writeSyncAndClose(RVXFileHandle& handle, std::string_view text) {
  if (auto written = handle.writeWhole(std::as_bytes(std::span(text))); written.failed()) return written;
  if (auto synced = handle.syncData(); synced.failed()) return synced;
  return handle.close();
}

RVXOutcome<> renameFile(const std::string& from, const std::string& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0) return failureFromErrno(errno);
  return {};
}

RVXOutcome<> writeAtomically(const std::string& path, std::string_view text) {
  auto temporary = newTemporaryFileBeside(path);
  if (temporary.failed()) return temporary.failure();
  auto outcome = writeSyncAndClose(temporary.value().handle, text);
  if (outcome.succeeded()) outcome = renameFile(temporary.value().path, path);
  if (outcome.failed()) ::unlink(temporary.value().path.c_str());
  return outcome;
}

RVXOutcome<> writeInPlace(const std::string& path, std::string_view text) {
  auto opened = RVXFileHandle::open(path, O_WRONLY | O_CREAT | O_TRUNC);
  if (opened.failed()) return opened.failure();
  return writeSyncAndClose(opened.value(), text);
}

// Whether the storage has exactly this text at that path; none when a read failed.
std::optional<bool> storageHolds(const std::string& path, std::string_view text) {
  auto opened = RVXStorageReader::openForReading(path);
  if (opened.failed()) return false;
  RVXStorageReader& reader = opened.value();
  reader.bypassCache();
  RVXBlock block = RVXBlock::withCapacity(kReadBackSize);
  while (reader.readUpToCapacity(block).succeeded()) {
    const auto expected = std::as_bytes(std::span(text.substr(0, block.length())));
    const auto found = block.bytes();
    if (!std::equal(found.begin(), found.end(), expected.begin(), expected.end())) return false;
    text.remove_prefix(expected.size());
    if (block.length() < kReadBackSize) return text.empty();
  }
  return std::nullopt;
}

bool readsBackAs(const std::string& path, std::string_view text) {
  // As everywhere, a failed read is tried once more, with the file opened again.
  auto holds = storageHolds(path, text);
  if (!holds) holds = storageHolds(path, text);
  return holds.value_or(false);
}

}  // namespace

RVXOutcome<std::string> readTextFile(const std::string& path) {
  auto opened = RVXFileHandle::open(path, O_RDONLY);
  if (opened.failed()) return opened.failure();
  std::string text;
  std::array<std::byte, 65536> buffer;
  while (true) {
    const auto piece = opened.value().readWhole(buffer);
    if (piece.failed()) return piece.failure();
    text.append(reinterpret_cast<const char*>(buffer.data()), piece.value());
    if (piece.value() < buffer.size()) return text;
  }
}

RVXOutcome<> writeTextFile(const std::string& path, std::string_view text, bool atomically) {
  auto written = atomically ? writeAtomically(path, text) : writeInPlace(path, text);
  if (written.failed()) return written;
  if (auto synced = syncFolder(pathWithoutLastComponent(path)); synced.failed()) return synced;
  return readsBackAs(path, text) ? RVXOutcome<>() : failureFromErrno(EIO);
}

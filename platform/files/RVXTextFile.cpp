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
#include "platform/files/RVXTransfer.h"

namespace {

constexpr size_t kReadBackSize = size_t{2} * 1024 * 1024;

struct TemporaryFile {
  std::string path;
  RVXFileHandle handle;
};

// A new file beside `path`. Its name is short, so that it fits wherever the name of `path` does.
TemporaryFile newTemporaryFileBeside(const std::string& path) {
  for (int attempt = 0;; ++attempt) {
    const std::string name =
        ".rvxcopy-" + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".tmp";
    const std::string candidate = pathByAppendingComponent(pathWithoutLastComponent(path), name);
    RVXFileHandle handle = RVXFileHandle::open(candidate, O_WRONLY | O_CREAT | O_EXCL);
    if (handle.isOpen() || errno != EEXIST) return {candidate, std::move(handle)};
  }
}

std::optional<RVXIOFailure> writeSyncAndClose(RVXFileHandle& handle, std::string_view text) {
  if (auto failure = writeWhole(handle.descriptor(), std::as_bytes(std::span(text)))) return failure;
  if (auto failure = syncData(handle.descriptor())) return failure;
  return handle.close();
}

std::optional<RVXIOFailure> writeAtomically(const std::string& path, std::string_view text) {
  TemporaryFile temporary = newTemporaryFileBeside(path);
  if (!temporary.handle.isOpen()) return failureFromErrno();
  auto failure = writeSyncAndClose(temporary.handle, text);
  if (!failure && std::rename(temporary.path.c_str(), path.c_str()) != 0) failure = failureFromErrno();
  if (failure) ::unlink(temporary.path.c_str());
  return failure;
}

std::optional<RVXIOFailure> writeInPlace(const std::string& path, std::string_view text) {
  RVXFileHandle handle = RVXFileHandle::open(path, O_WRONLY | O_CREAT | O_TRUNC);
  if (!handle.isOpen()) return failureFromErrno();
  return writeSyncAndClose(handle, text);
}

// Whether the storage has exactly this text under that name; none when a read failed.
std::optional<bool> storageHolds(const std::string& path, std::string_view text) {
  auto reader = RVXStorageReader::openForReading(path);
  if (!reader) return false;
  reader->bypassCache();
  RVXBlock block = RVXBlock::withCapacity(kReadBackSize);
  while (!reader->readUpToCapacity(block)) {
    const auto expected = std::as_bytes(std::span(text.substr(0, block.length())));
    const auto found = block.bytes();
    if (!std::equal(found.begin(), found.end(), expected.begin(), expected.end())) return false;
    text.remove_prefix(expected.size());
    if (block.length() < kReadBackSize) return text.empty();
  }
  return std::nullopt;
}

bool readsBackAs(const std::string& path, std::string_view text) {
  // As everywhere, a failed read has one retry, with the file opened again.
  auto holds = storageHolds(path, text);
  if (!holds) holds = storageHolds(path, text);
  return holds.value_or(false);
}

}  // namespace

std::optional<std::string> readTextFile(const std::string& path) {
  const RVXFileHandle handle = RVXFileHandle::open(path, O_RDONLY);
  if (!handle.isOpen()) return std::nullopt;
  std::string text;
  std::array<std::byte, 65536> buffer;
  while (true) {
    const RVXReadResult piece = readWhole(handle.descriptor(), buffer);
    if (piece.failure) return std::nullopt;
    text.append(reinterpret_cast<const char*>(buffer.data()), piece.length);
    if (piece.length < buffer.size()) return text;
  }
}

std::optional<RVXIOFailure> writeTextFile(const std::string& path, std::string_view text, bool atomically) {
  if (auto failure = atomically ? writeAtomically(path, text) : writeInPlace(path, text)) return failure;
  if (auto failure = syncFolder(pathWithoutLastComponent(path))) return failure;
  return readsBackAs(path, text) ? std::nullopt : std::optional(failureFromErrno(EIO));
}

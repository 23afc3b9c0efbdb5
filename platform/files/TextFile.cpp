#include "platform/files/TextFile.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/files/RVXBlock.h"
#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXNewItem.h"
#include "platform/files/RVXStorageReader.h"

namespace {

constexpr size_t kReadBackSize = size_t{2} * 1024 * 1024;

RVXOutcome<> writeSyncAndClose(RVXFileHandle& handle, std::string_view text) {
  if (auto written = handle.writeWhole(std::as_bytes(std::span(text))); written.failed()) return written;
  if (auto synced = handle.syncData(); synced.failed()) return synced;
  return handle.close();
}

RVXOutcome<> writeAtomically(const std::string& path, std::string_view text) {
  RVXFileHandle handle;
  auto made = RVXNewItem::makeFileIn(pathWithoutLastComponent(path), handle);
  if (made.failed()) return made.failure();
  auto outcome = writeSyncAndClose(handle, text);
  return outcome.succeeded() ? made.value().replace(path) : outcome;
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
    if (!std::ranges::equal(block.bytes(), expected)) return false;
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

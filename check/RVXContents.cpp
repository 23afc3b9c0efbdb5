#include "check/RVXContents.h"

#include <array>

#include "platform/digests/RVXAnyDigest.h"
#include "platform/files/RVXBlock.h"
#include "platform/files/RVXKeptFailure.h"
#include "platform/files/RVXRecoveringReader.h"
#include "platform/threads/RVXOperationQueue.h"

namespace {

// A small file gets a small chunk, which it does not fill: to make a large block ready would take longer than
// to read the file.
size_t chunkSizeFor(int64_t size) {
  constexpr size_t kSmallChunk = size_t{256} * 1024;
  return size < static_cast<int64_t>(kSmallChunk) ? kSmallChunk : RVXContents::kChunkSize;
}

// Reads to the end and feeds the digests; returns the bytes read.
int64_t readThrough(RVXRecoveringReader& reader, RVXKeptFailure& recovery,
                    std::map<DigestKind, RVXAnyDigest>& digests, std::atomic<int64_t>& bytesRead) {
  const size_t chunkSize = chunkSizeFor(reader.size());
  std::array<RVXBlock, 2> chunks;
  RVXOperationQueue queue;
  int64_t length = 0;
  for (size_t i = 0;; i = 1 - i) {
    RVXBlock& chunk = chunks[i];
    if (chunk.storage().empty()) chunk = RVXBlock::withCapacity(chunkSize);
    reader.read(chunk, recovery);
    queue.waitUntilAllOperationsAreFinished();
    const auto chunkLength = static_cast<int64_t>(chunk.length());
    length += chunkLength;
    bytesRead.fetch_add(chunkLength, std::memory_order_relaxed);  // only shown
    const bool isLast = chunk.length() != chunkSize;
    for (auto& [kind, digest] : digests) {
      const auto update = [&digest = digest, &chunk] { digest.update(chunk.bytes()); };
      // After the last chunk there is nothing to read meanwhile, and for a small file a thread costs more
      // than it saves.
      if (isLast) {
        update();
      } else {
        queue.addOperation(update);
      }
    }
    if (isLast) break;
  }
  return length;
}

}  // namespace

RVXContents RVXContents::read(const std::string& path, const std::set<DigestKind>& kinds,
                              std::atomic<int64_t>& bytesRead) {
  RVXContents contents;
  auto opened = RVXRecoveringReader::openForReading(path);
  if (opened.failed()) {
    contents.error = opened.failure().reason;
    return contents;
  }
  RVXRecoveringReader& reader = opened.value();
  contents.isRegularFile = reader.isRegularFile();
  contents.identity = reader.identity().value_or(RVXFileIdentity{});
  contents.modified = reader.modified();
  if (!contents.isRegularFile) return contents;

  reader.bypassCacheAndReadAhead();
  RVXKeptFailure recovery;
  std::map<DigestKind, RVXAnyDigest> digests;
  for (const DigestKind kind : kinds) digests.emplace(kind, kind);
  contents.length = readThrough(reader, recovery, digests, bytesRead);
  if (recovery.failure()) {
    contents.error =
        recovery.failure()->reason.reason + " at " + std::to_string(recovery.failure()->position);
    return contents;
  }
  for (auto& [kind, digest] : digests) contents.digests.emplace(kind, digest.finalBytes());
  return contents;
}

#include "check/RVXContents.h"

#include <utility>
#include <vector>

#include "platform/digests/RVXAnyDigest.h"
#include "platform/files/RVXChunkReader.h"
#include "platform/files/RVXKeptFailure.h"

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
  std::vector<RVXChunkReader::Taker> updates;
  updates.reserve(digests.size());
  for (auto& [kind, digest] : digests) {
    updates.push_back([&digest = digest](std::span<const std::byte> chunk) { digest.update(chunk); });
  }
  RVXChunkReader chunks(reader, recovery, chunkSizeFor(reader.size()), std::move(updates));
  int64_t length = 0;
  bool isMore = true;
  while (isMore) {
    isMore = chunks.readNext();
    const auto lengthNow = static_cast<int64_t>(chunks.bytesRead());
    bytesRead.fetch_add(lengthNow - length, std::memory_order_relaxed);  // only shown
    length = lengthNow;
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

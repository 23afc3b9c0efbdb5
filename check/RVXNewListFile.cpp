#include "check/RVXNewListFile.h"

#include <atomic>
#include <cerrno>
#include <span>
#include <utility>

#include "check/RVXContents.h"

RVXOutcome<RVXNewListFile> RVXNewListFile::makeIn(const std::string& folder) {
  RVXNewListFile file;
  auto made = RVXNewItem::makeFileIn(folder, file.mHandle);
  if (made.failed()) return made.failure();
  file.mItem = std::move(made).value();
  return file;
}

void RVXNewListFile::write(std::string_view text) {
  constexpr size_t kPiece = size_t{256} * 1024;
  mText += text;
  if (mText.size() >= kPiece) flush();
}

void RVXNewListFile::flush() {
  const auto bytes = std::as_bytes(std::span(mText));
  mDigest.update(bytes);
  if (!mFailure) {
    const auto written = mHandle.writeWhole(bytes);
    if (written.failed()) mFailure = written.failure();
  }
  mText.clear();
}

RVXOutcome<> RVXNewListFile::finish() {
  flush();
  if (mFailure) return *mFailure;
  if (auto synced = mHandle.syncWholeFile(); synced.failed()) return synced;
  if (auto closed = mHandle.close(); closed.failed()) return closed;
  mSHA512 = mDigest.finalBytes();
  std::atomic<int64_t> bytesRead{0};  // no contents that were checked
  const RVXContents read = RVXContents::read(mItem.path(), {DigestKind::C4}, bytesRead);
  const bool isRead = !read.error && read.isRegularFile;
  return isRead && read.digests.at(DigestKind::C4) == mSHA512 ? RVXOutcome<>() : failureFromErrno(EIO);
}

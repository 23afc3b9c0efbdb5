#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/digests/RVXAnyDigest.h"
#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXNewItem.h"
#include "platform/files/RVXOutcome.h"

// The file of a new list, written piece by piece under a temporary name. Of a list of any size only one piece
// is held.
class RVXNewListFile {
 public:
  // In the folder at `folder`.
  static RVXOutcome<RVXNewListFile> makeIn(const std::string& folder);

  // A failure is told by finish().
  void write(std::string_view text);

  // Hands what was written to the storage and reads it back from there; EIO where it differs. To be called
  // once, at the end.
  RVXOutcome<> finish();

  // The SHA-512 of what was written; once it is finished.
  [[nodiscard]] const std::string& sha512() const { return mSHA512; }

  // The file under its temporary name. It is removed with this object unless it was kept.
  RVXNewItem& item() { return mItem; }

 private:
  RVXNewListFile() = default;
  void flush();

  RVXNewItem mItem;
  RVXFileHandle mHandle;
  std::string mText;  // not written yet
  std::optional<RVXIOFailure> mFailure;
  RVXAnyDigest mDigest{DigestKind::C4};
  std::string mSHA512;
};

#include "check/RVXReadFacts.h"

#include <algorithm>

bool RVXReadFacts::want(Node file) {
  if (mFacts.size() <= file) {
    mFacts.resize(file + 1);
    mIsWanted.resize(file + 1);
  }
  const bool isNew = !mIsWanted[file];
  mIsWanted[file] = true;
  return isNew;
}

std::vector<DigestKind> RVXReadFacts::kindsFor(Node file) const {
  std::vector<DigestKind> kinds;
  if (file < mIsWanted.size() && mIsWanted[file]) kinds.push_back(DigestKind::XXH64);
  if (mC4s.contains(file)) kinds.push_back(DigestKind::C4);
  return kinds;
}

void RVXReadFacts::take(Node file, const std::vector<DigestKind>& kinds, const RVXContents& contents) {
  if (contents.error || !contents.isRegularFile) {
    fail(file, contents.error.value_or("no regular file"));
    return;
  }
  for (const DigestKind wanted : kindsFor(file)) {
    const auto kind = std::find(kinds.begin(), kinds.end(), wanted);
    const std::string& digest = contents.digests[static_cast<size_t>(kind - kinds.begin())];
    if (wanted == DigestKind::C4) {
      mC4s.find(file)->second = digest;
    } else {
      Fact& fact = mFacts[file];
      fact.size = contents.length;
      fact.modified = contents.modified;
      std::ranges::copy(digest, fact.xxh64.begin());
    }
  }
}

void RVXReadFacts::fail(Node file, const std::string& error) {
  const RVXMutexLock lock(mLock);
  mErrors.emplace(file, error);
}

std::string RVXReadFacts::errorOf(Node file) const {
  const RVXMutexLock lock(mLock);
  const auto error = mErrors.find(file);
  return error != mErrors.end() ? error->second : "";
}

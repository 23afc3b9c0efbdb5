#include "check/RVXReadFacts.h"

#include <algorithm>

bool RVXReadFacts::want(RVXNode file) {
  if (mFacts.size() <= file) {
    mFacts.resize(file + 1);
    mIsWanted.resize(file + 1);
  }
  const bool isNew = !mIsWanted[file];
  mIsWanted[file] = true;
  return isNew;
}

std::set<DigestKind> RVXReadFacts::kindsFor(RVXNode file) const {
  std::set<DigestKind> kinds;
  if (file < mIsWanted.size() && mIsWanted[file]) kinds.insert(DigestKind::XXH64);
  if (mC4s.contains(file)) kinds.insert(DigestKind::C4);
  return kinds;
}

void RVXReadFacts::take(RVXNode file, const RVXContents& contents) {
  if (contents.error || !contents.isRegularFile) {
    fail(file, contents.error.value_or("no regular file"));
    return;
  }
  for (const DigestKind kind : kindsFor(file)) {
    const std::string& digest = contents.digests.at(kind);
    if (kind == DigestKind::C4) {
      mC4s.find(file)->second = digest;
    } else {
      Fact& fact = mFacts[file];
      fact.size = contents.length;
      fact.modified = contents.modified;
      std::ranges::copy(digest, fact.xxh64.begin());
    }
  }
}

void RVXReadFacts::fail(RVXNode file, const std::string& error) {
  const RVXMutexLock lock(mLock);
  mErrors.emplace(file, error);
}

std::string RVXReadFacts::errorOf(RVXNode file) const {
  const RVXMutexLock lock(mLock);
  const auto error = mErrors.find(file);
  return error != mErrors.end() ? error->second : "";
}

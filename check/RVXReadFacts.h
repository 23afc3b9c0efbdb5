#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "check/RVXContents.h"
#include "check/RVXNameTree.h"
#include "platform/threads/RVXMutex.h"

// What the reading of files gives beside the check, for new lists. First one thread says of which files what
// is wanted; then any thread takes it, of each file once; when all was read, it is asked for.
class RVXReadFacts {
 public:
  struct Fact {
    int64_t size = 0;      // bytes
    int64_t modified = 0;  // seconds since 1970, UTC
    std::array<char, 8> xxh64{};
  };

  // False where it was wanted already.
  bool want(RVXNode file);
  void wantC4(RVXNode file) { mC4s[file]; }

  // The digests that are needed of the file for that.
  [[nodiscard]] std::set<DigestKind> kindsFor(RVXNode file) const;
  // What was read of it, with digests of these kinds at least.
  void take(RVXNode file, const RVXContents& contents) RVX_EXCLUDES(mLock);
  // The file can't be read.
  void fail(RVXNode file, const std::string& error) RVX_EXCLUDES(mLock);

  // Of a file that was wanted and could be read; C4 as bytes.
  [[nodiscard]] const Fact& of(RVXNode file) const { return mFacts.at(file); }
  [[nodiscard]] const std::string& c4Of(RVXNode file) const { return mC4s.at(file); }
  // Why it could not; empty: it could.
  [[nodiscard]] std::string errorOf(RVXNode file) const RVX_EXCLUDES(mLock);

 private:
  // Nothing is added to these two while threads take, each for other files.
  std::vector<Fact> mFacts;  // by the number of the node
  std::map<RVXNode, std::string> mC4s;
  std::vector<bool> mIsWanted;

  mutable RVXMutex mLock;
  std::map<RVXNode, std::string> mErrors RVX_GUARDED_BY(mLock);
};

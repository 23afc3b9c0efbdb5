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

// What new lists need to know of files, collected while these are read. Used in three steps: one thread says
// what is wanted of which files; while the files are read, any thread passes it on, once for each file; when
// all were read, one thread asks for it.
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

  // The digests that are to be computed of the file.
  [[nodiscard]] std::set<DigestKind> kindsFor(RVXNode file) const;
  // Takes what was read of the file, with digests of these kinds at least.
  void take(RVXNode file, const RVXContents& contents) RVX_EXCLUDES(mLock);
  // Notes that the file can't be read.
  void fail(RVXNode file, const std::string& error) RVX_EXCLUDES(mLock);

  // Requires a file that was wanted and could be read. C4 is in bytes.
  [[nodiscard]] const Fact& of(RVXNode file) const { return mFacts.at(file); }
  [[nodiscard]] const std::string& c4Of(RVXNode file) const { return mC4s.at(file); }
  // Why the file could not be read; empty where it could.
  [[nodiscard]] std::string errorOf(RVXNode file) const RVX_EXCLUDES(mLock);

 private:
  // While files are read, these two keep their sizes, and each thread uses only the places of its own files.
  std::vector<Fact> mFacts;  // by the number of the node
  std::map<RVXNode, std::string> mC4s;
  std::vector<bool> mIsWanted;

  mutable RVXMutex mLock;
  std::map<RVXNode, std::string> mErrors RVX_GUARDED_BY(mLock);
};

#pragma once

#include <array>
#include <cstdint>
#include <map>
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
  using Node = RVXNameTree::Node;

  struct Fact {
    int64_t size = 0;      // bytes
    int64_t modified = 0;  // seconds since 1970, UTC
    std::array<char, 8> xxh64{};
  };

  // False where the same was said before.
  bool want(Node file);
  void wantC4(Node file) { mC4s[file]; }

  // The digests that are to be computed of the file.
  [[nodiscard]] std::vector<DigestKind> kindsFor(Node file) const;
  // Takes what was read of the file, with digests of these kinds.
  void take(Node file, const std::vector<DigestKind>& kinds, const RVXContents& contents) RVX_EXCLUDES(mLock);
  // Notes that the file can't be read.
  void fail(Node file, const std::string& error) RVX_EXCLUDES(mLock);

  // Requires a file that was wanted and could be read. C4 is in bytes.
  [[nodiscard]] const Fact& of(Node file) const { return mFacts.at(file); }
  [[nodiscard]] const std::string& c4Of(Node file) const { return mC4s.at(file); }
  // Why the file could not be read; empty where it could.
  [[nodiscard]] std::string errorOf(Node file) const RVX_EXCLUDES(mLock);

 private:
  // While files are read, these two keep their sizes, and each thread uses only the places of its own files.
  std::vector<Fact> mFacts;  // by the number of the node
  std::map<Node, std::string> mC4s;
  std::vector<bool> mIsWanted;

  mutable RVXMutex mLock;
  std::map<Node, std::string> mErrors RVX_GUARDED_BY(mLock);
};

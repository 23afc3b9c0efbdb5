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
  using Node = RVXNameTree::Node;

  struct Fact {
    int64_t size = 0;      // bytes
    int64_t modified = 0;  // seconds since 1970, UTC
    std::array<char, 8> xxh64{};
  };

  // False where it was wanted already.
  bool want(Node file);
  void wantC4(Node file) { mC4s[file]; }

  // The digests that are needed of the file for that.
  [[nodiscard]] std::set<DigestKind> kindsFor(Node file) const;
  // What was read of it, with digests of these kinds at least.
  void take(Node file, const RVXContents& contents) RVX_EXCLUDES(mLock);
  // The file can't be read.
  void fail(Node file, const std::string& error) RVX_EXCLUDES(mLock);

  // Of a file that was wanted and could be read; C4 as bytes.
  [[nodiscard]] const Fact& of(Node file) const { return mFacts.at(file); }
  [[nodiscard]] const std::string& c4Of(Node file) const { return mC4s.at(file); }
  // Why it could not; empty: it could.
  [[nodiscard]] std::string errorOf(Node file) const RVX_EXCLUDES(mLock);

 private:
  // Nothing is added to these two while threads take, each for other files.
  std::vector<Fact> mFacts;  // by the number of the node
  std::map<Node, std::string> mC4s;
  std::vector<bool> mIsWanted;

  mutable RVXMutex mLock;
  std::map<Node, std::string> mErrors RVX_GUARDED_BY(mLock);
};

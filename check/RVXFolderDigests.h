#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "check/RVXReadFacts.h"
#include "check/RVXScope.h"
#include "formats/mhl/NewMediaHashes.h"

// The digests of the folders of a scope, from the XXH64 of its files.
class RVXFolderDigests {
 public:
  RVXFolderDigests(const RVXScope& scope, const RVXReadFacts& facts);

  [[nodiscard]] const RVXNewFolderHash& root() const { return mRoot; }
  // Of a folder of the scope.
  [[nodiscard]] const RVXNewFolderHash& of(RVXNode folder) const { return mFolders.at(folder); }

 private:
  using Digest = std::array<unsigned char, 8>;
  // The digests of what lies in a folder.
  struct Contents {
    std::vector<Digest> contents;
    std::vector<Digest> structures;
  };
  using OpenFolders = std::map<std::string_view, Contents>;

  static void add(OpenFolders& folders, std::string_view path, const RVXNewFolderHash& item);
  static std::string digestOfSorted(std::vector<Digest>& digests);
  static RVXNewFolderHash close(OpenFolders& folders, std::string_view path);

  std::map<RVXNode, RVXNewFolderHash> mFolders;
  RVXNewFolderHash mRoot;
};

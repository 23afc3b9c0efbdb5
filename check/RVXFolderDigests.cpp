#include "check/RVXFolderDigests.h"

#include <algorithm>

#include "platform/digests/RVXAnyDigest.h"

namespace {

std::string digestOf(std::string_view text) {
  return RVXAnyDigest::ofText(DigestKind::XXH64, text);
}

template <typename Digest>
Digest digestOfBytes(std::string_view bytes) {
  Digest digest{};
  std::ranges::copy(bytes, digest.begin());
  return digest;
}

}  // namespace

RVXFolderDigests::RVXFolderDigests(const RVXScope& scope, const RVXReadFacts& facts) {
  OpenFolders folders;
  // In this direction a folder comes after all that lies in it.
  for (auto entry = scope.entries.rbegin(); entry != scope.entries.rend(); ++entry) {
    const std::string_view path = scope.pathOf(*entry);
    if (entry->isFolder) {
      add(folders, path, mFolders[entry->node] = close(folders, path));
    } else {
      const auto& digest = facts.of(entry->node).xxh64;
      const std::string bytes(digest.begin(), digest.end());
      add(folders, path, {bytes, bytes});
    }
  }
  mRoot = close(folders, "");
}

void RVXFolderDigests::add(OpenFolders& folders, std::string_view path, const RVXNewFolderHash& item) {
  const size_t slash = path.rfind('/');
  const bool isInRoot = slash == std::string_view::npos;
  Contents& folder = folders[isInRoot ? "" : path.substr(0, slash)];
  folder.contents.push_back(digestOfBytes<Digest>(item.content));
  const std::string_view name = isInRoot ? path : path.substr(slash + 1);
  folder.structures.push_back(digestOfBytes<Digest>(digestOf(std::string(name) + item.structure)));
}

std::string RVXFolderDigests::digestOfSorted(std::vector<Digest>& digests) {
  std::ranges::sort(digests);
  RVXAnyDigest digest(DigestKind::XXH64);
  for (const Digest& one : digests) digest.update(std::as_bytes(std::span(one)));
  return digest.finalBytes();
}

RVXNewFolderHash RVXFolderDigests::close(OpenFolders& folders, std::string_view path) {
  Contents contents = std::move(folders[path]);
  folders.erase(path);
  return {digestOfSorted(contents.contents), digestOfSorted(contents.structures)};
}

#include "formats/mhl/RVXMediaHashDialect.h"

#include <algorithm>
#include <array>

namespace {

using Dialect = RVXMediaHashDialect;
using Rule = Dialect::Rule;
using enum RVXMediaHashElement;

constexpr auto kVersion1Rules =
    std::to_array<Rule>({{list, "hash", entry}, {entry, "file", path}, {entry, "size", size}});

constexpr auto kManifestRules = std::to_array<Rule>({{list, "processinfo", processInfo},
                                                     {processInfo, "process", process},
                                                     {processInfo, "ignore", ignore},
                                                     {ignore, "pattern", pattern},
                                                     {list, "hashes", hashes},
                                                     {hashes, "hash", entry},
                                                     {hashes, "directoryhash", folder},
                                                     {list, "references", references},
                                                     {references, "hashlistreference", entry},
                                                     {entry, "path", path},
                                                     {entry, "previousPath", previousPath},
                                                     {folder, "path", path},
                                                     {folder, "previousPath", previousPath}});

constexpr auto kChainRules = std::to_array<Rule>({{list, "hashlist", entry}, {entry, "path", path}});

constexpr Dialect kVersion1{true, "", kVersion1Rules};
constexpr Dialect kManifest{false, "urn:ASC:MHL:v2.0", kManifestRules};
constexpr Dialect kChain{false, "urn:ASC:MHL:DIRECTORY:v2.0", kChainRules};

bool isVersion1(std::string_view version) {
  if (version == "1") return true;
  return version.size() > 2 && version.starts_with("1.") &&
         version.find_first_not_of("0123456789", 2) == std::string_view::npos;
}

}  // namespace

const Dialect* Dialect::of(Expected expected, std::string_view space, std::string_view root,
                           const char* version) {
  if (expected == Expected::chain) {
    return space == kChain.space && root == "ascmhldirectory" ? &kChain : nullptr;
  }
  if (root != "hashlist" || version == nullptr) return nullptr;
  if (space == kManifest.space && std::string_view(version) == "2.0") return &kManifest;
  const bool mayBeOld = expected == Expected::list;
  return mayBeOld && space == kVersion1.space && ::isVersion1(version) ? &kVersion1 : nullptr;
}

RVXMediaHashElement Dialect::elementOf(RVXMediaHashElement parent, std::string_view elementSpace,
                                       std::string_view name) const {
  if (elementSpace != space) return passedOver;
  const auto rule =
      std::ranges::find_if(rules, [&](const Rule& one) { return one.parent == parent && one.name == name; });
  if (rule != rules.end()) return rule->element;
  return parent == entry && RVXMediaHashDigestName::find(name) != nullptr ? digest : passedOver;
}

const RVXMediaHashDigestName* RVXMediaHashDigestName::find(std::string_view name) {
  // "xxhash64" has the least significant byte first, but not every program writes it so.
  static constexpr auto kNames =
      std::to_array<RVXMediaHashDigestName>({{"md5", DigestKind::MD5},
                                             {"sha1", DigestKind::SHA1},
                                             {"c4", DigestKind::C4},
                                             {"xxh64", DigestKind::XXH64},
                                             {"xxh3", DigestKind::XXH3},
                                             {"xxh128", DigestKind::XXH128},
                                             {"xxhash", DigestKind::XXH32, Form::decimal},
                                             {"xxhash64", DigestKind::XXH64, Form::inAnyOrder},
                                             {"xxhash64be", DigestKind::XXH64}});
  const auto* const found = std::ranges::find(kNames, name, &RVXMediaHashDigestName::name);
  return found != kNames.end() ? found : nullptr;
}

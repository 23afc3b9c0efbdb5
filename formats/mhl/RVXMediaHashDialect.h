#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "include/DigestKind.h"

// The elements of media hash lists that matter.
enum class RVXMediaHashElement : uint8_t {
  passedOver,  // together with everything inside it
  list,
  processInfo,
  process,
  ignore,
  pattern,
  hashes,
  references,
  entry,
  folder,
  path,
  previousPath,
  size,
  digest,
};

// One of the formats: MHL 1.x (mediahashlist.org), a manifest of ASC MHL 2.0, or the chain of its history.
struct RVXMediaHashDialect {
  struct Rule {
    RVXMediaHashElement parent;
    std::string_view name;
    RVXMediaHashElement element;
  };

  // What a list may be: a list of either format, a manifest of a history, or the chain of one.
  enum class Expected { list, manifest, chain };

  bool isVersion1 = false;
  std::string_view space;  // of all its elements
  std::span<const Rule> rules;

  // By the root of a list, whose version may be null; null: none of those expected.
  static const RVXMediaHashDialect* of(Expected expected, std::string_view space, std::string_view root,
                                       const char* version);

  // What the element is in its parent.
  [[nodiscard]] RVXMediaHashElement elementOf(RVXMediaHashElement parent, std::string_view elementSpace,
                                              std::string_view name) const;
};

// How the element of a digest, of any of the formats, is to be read.
struct RVXMediaHashDigestName {
  enum class Form { text, decimal, inAnyOrder };

  std::string_view name;
  DigestKind kind = DigestKind::XXH64;
  Form form = Form::text;

  // Null when no digest of that name is known.
  static const RVXMediaHashDigestName* find(std::string_view name);
};

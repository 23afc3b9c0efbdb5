#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

// One pattern of gitignore(5): without a "/" before its last character it is for names at any depth, else for
// whole paths; a "/" at its end makes it one for folders only. "*", "?" and "[...]" stay within a name (in
// brackets "!" or "^" negates, and classes such as [:alpha:] are known); "**" as a whole name stands for any
// number of folders, at the end for all that lies below. Names are bytes, compared as they are.
class RVXIgnorePattern {
 public:
  // None for a line that is empty, a comment, or matches nothing: one with "[" that has no end, with a "\" at
  // its end, or of more than kLongest bytes.
  static std::optional<RVXIgnorePattern> parse(std::string_view line);

  static constexpr size_t kLongest = 4095;  // bytes; as paths have

  // Whether an item of these names, from below the patterns' folder to the item's own, is meant. The time is
  // at most in proportion to the length of the pattern times that of the names.
  [[nodiscard]] bool matches(std::span<const std::string_view> names, bool isFolder) const;

  // Whether it takes back what patterns before it ignore ("!").
  [[nodiscard]] bool isNegated() const { return mIsNegated; }

 private:
  class Parser;
  using Set = std::bitset<256>;  // of bytes

  // What one byte of a name may be, or, `star`, any number of bytes.
  struct Token {
    enum class Kind : uint8_t { byte, any, set, star };
    Kind kind = Kind::byte;
    char byte = '\0';
    uint16_t set = 0;  // in mSets
  };
  // The tokens between two slashes; `isDeep` and no token for "**".
  struct Name {
    size_t first = 0;  // in mTokens
    size_t count = 0;
    bool isDeep = false;
  };

  [[nodiscard]] bool matchesName(const Name& pattern, std::string_view name) const;
  [[nodiscard]] bool matchesByte(const Token& token, char byte) const;

  std::vector<Token> mTokens;
  std::vector<Set> mSets;
  std::vector<Name> mNames;
  bool mIsNegated = false;
  bool mIsForFolders = false;
  bool mIsForPaths = false;
};

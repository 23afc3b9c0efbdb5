#include "formats/RVXIgnorePattern.h"

#include <algorithm>

#include "formats/ByteSetText.h"

namespace {

// Whether a sequence matches a pattern in which `isStar(p)` stands for any number of items, and anything else
// for one that `isMatch(p, i)` accepts. Only the last star is ever tried again: what an earlier one would
// take more, the last one can take as well.
template <typename IsStar, typename IsMatch>
bool matchesGreedily(size_t patternSize, size_t size, IsStar isStar, IsMatch isMatch) {
  size_t p = 0;
  size_t i = 0;
  std::optional<size_t> behindStar;
  size_t starEnd = 0;
  while (i < size) {
    if (p < patternSize && isStar(p)) {
      behindStar = ++p;
      starEnd = i;
    } else if (p < patternSize && isMatch(p, i)) {
      ++p;
      ++i;
    } else if (behindStar) {
      p = *behindStar;
      i = ++starEnd;
    } else {
      return false;
    }
  }
  while (p < patternSize && isStar(p)) ++p;
  return p == patternSize;
}

// Without the blanks at the end that no "\" protects.
std::string_view withoutBlanksAtEnd(std::string_view line) {
  size_t end = 0;
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\\')
      ++i;
    else if (line[i] == ' ')
      continue;
    end = i + 1;
  }
  return line.substr(0, end);
}

}  // namespace

// Takes a pattern's text apart.
class RVXIgnorePattern::Parser {
 public:
  Parser(std::string_view text, RVXIgnorePattern& pattern) : mRest(text), mPattern(pattern) {}

  // False where the text matches nothing.
  bool parse() {
    while (!mRest.empty()) {
      if (!takeNext()) return false;
    }
    endName();
    // At the end it stands for at least one name.
    if (mPattern.mNames.back().isDeep) {
      addToken({Token::Kind::star, '\0', 0});
      endName();
    }
    return true;
  }

 private:
  bool takeNext() {
    char byte = mRest.front();
    mRest.remove_prefix(1);
    if (byte == '*') return addToken({Token::Kind::star, '\0', 0});
    if (byte == '?') return addToken({Token::Kind::any, '\0', 0});
    if (byte == '[') return takeSet();
    if (byte == '\\') {
      if (mRest.empty()) return false;
      byte = mRest.front();
      mRest.remove_prefix(1);
    }
    return byte == '/' ? endName() : addToken({Token::Kind::byte, byte, 0});
  }

  bool takeSet() {
    const auto set = takeByteSet(mRest);
    if (!set) return false;
    mPattern.mSets.push_back(*set);
    return addToken({Token::Kind::set, '\0', static_cast<uint16_t>(mPattern.mSets.size() - 1)});
  }

  bool addToken(const Token& token) {
    mPattern.mTokens.push_back(token);
    return true;
  }

  bool endName() {
    auto& tokens = mPattern.mTokens;
    Name name{mNameStart, tokens.size() - mNameStart, false};
    name.isDeep = mPattern.mIsForPaths && name.count > 1 &&
                  std::ranges::all_of(std::span(tokens).last(name.count),
                                      [](const Token& token) { return token.kind == Token::Kind::star; });
    mPattern.mNames.push_back(name);
    mNameStart = tokens.size();
    return true;
  }

  std::string_view mRest;
  RVXIgnorePattern& mPattern;
  size_t mNameStart = 0;  // in the pattern's tokens
};

std::optional<RVXIgnorePattern> RVXIgnorePattern::parse(std::string_view line) {
  if (line.starts_with('#')) return std::nullopt;
  line = withoutBlanksAtEnd(line);
  RVXIgnorePattern pattern;
  pattern.mIsNegated = line.starts_with('!');
  if (pattern.mIsNegated) line.remove_prefix(1);
  pattern.mIsForFolders = line.ends_with('/');
  if (pattern.mIsForFolders) line.remove_suffix(1);
  pattern.mIsForPaths = line.find('/') != std::string_view::npos;
  if (line.starts_with('/')) line.remove_prefix(1);
  if (line.empty() || line.size() > kLongest || !Parser(line, pattern).parse()) return std::nullopt;
  return pattern;
}

bool RVXIgnorePattern::matches(std::span<const std::string_view> names, bool isFolder) const {
  if (mIsForFolders && !isFolder) return false;
  if (!mIsForPaths) return matchesName(mNames.front(), names.back());
  return matchesGreedily(
      mNames.size(), names.size(), [this](size_t p) { return mNames[p].isDeep; },
      [&](size_t p, size_t i) { return matchesName(mNames[p], names[i]); });
}

bool RVXIgnorePattern::matchesName(const Name& pattern, std::string_view name) const {
  const auto token = [&](size_t p) -> const Token& { return mTokens[pattern.first + p]; };
  return matchesGreedily(
      pattern.count, name.size(), [&](size_t p) { return token(p).kind == Token::Kind::star; },
      [&](size_t p, size_t i) { return matchesByte(token(p), name[i]); });
}

bool RVXIgnorePattern::matchesByte(const Token& token, char byte) const {
  if (token.kind == Token::Kind::byte) return token.byte == byte;
  return token.kind == Token::Kind::any || mSets[token.set][static_cast<unsigned char>(byte)];
}

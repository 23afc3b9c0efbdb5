#include "formats/ByteSetText.h"

#include <array>
#include <cctype>
#include <utility>

namespace {

using Set = std::bitset<256>;

unsigned codeOf(char byte) {
  return static_cast<unsigned char>(byte);
}

std::optional<Set> setOfClass(std::string_view name) {
  static constexpr auto kClasses =
      std::to_array<std::pair<std::string_view, int (*)(int)>>({{"alnum", std::isalnum},
                                                                {"alpha", std::isalpha},
                                                                {"blank", std::isblank},
                                                                {"cntrl", std::iscntrl},
                                                                {"digit", std::isdigit},
                                                                {"graph", std::isgraph},
                                                                {"lower", std::islower},
                                                                {"print", std::isprint},
                                                                {"punct", std::ispunct},
                                                                {"space", std::isspace},
                                                                {"upper", std::isupper},
                                                                {"xdigit", std::isxdigit}});
  for (const auto& [known, contains] : kClasses) {
    if (known != name) continue;
    Set set;
    for (int code = 0; code < 128; ++code) set[static_cast<size_t>(code)] = contains(code) != 0;
    return set;
  }
  return std::nullopt;
}

// Takes the members one after another.
class Parser {
 public:
  explicit Parser(std::string_view& text) : mText(text) {}

  std::optional<Set> parse() {
    const bool isNegated = mText.starts_with('!') || mText.starts_with('^');
    if (isNegated) mText.remove_prefix(1);
    do {
      if (!takeMember()) return std::nullopt;
    } while (!mText.starts_with(']'));
    mText.remove_prefix(1);
    return isNegated ? ~mSet : mSet;
  }

 private:
  bool takeMember() {
    const bool isRange = mText.size() > 1 && mText[0] == '-' && mText[1] != ']' && mLast;
    if (isRange) return takeRange();
    if (mText.starts_with("[:")) return takeClass();
    mLast = takeByte();
    if (mLast) mSet.set(codeOf(*mLast));
    return mLast.has_value();
  }

  bool takeRange() {
    const unsigned first = codeOf(*std::exchange(mLast, std::nullopt));
    mText.remove_prefix(1);
    const auto last = takeByte();
    if (!last) return false;
    for (unsigned code = first; code <= codeOf(*last); ++code) mSet.set(code);
    return true;
  }

  bool takeClass() {
    constexpr size_t kNameStart = 2;
    const size_t end = mText.find(']', kNameStart);
    if (end == std::string_view::npos) return false;
    if (end == kNameStart || mText[end - 1] != ':') {  // no class: the bracket is a member
      mLast = takeByte();
      mSet.set(codeOf('['));
      return true;
    }
    const auto set = setOfClass(mText.substr(kNameStart, end - 1 - kNameStart));
    if (!set) return false;
    mSet |= *set;
    mLast.reset();
    mText.remove_prefix(end + 1);
    return true;
  }

  std::optional<char> takeByte() {
    if (mText.starts_with('\\')) mText.remove_prefix(1);
    if (mText.empty()) return std::nullopt;
    const char byte = mText.front();
    mText.remove_prefix(1);
    return byte;
  }

  std::string_view& mText;
  Set mSet;
  std::optional<char> mLast;  // with which a range may begin
};

}  // namespace

std::optional<Set> takeByteSet(std::string_view& text) {
  return Parser(text).parse();
}

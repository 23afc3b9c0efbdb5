#include "formats/RVXDigestLine.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "formats/DigestText.h"
#include "platform/system/UnicodeText.h"

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

// The texts of a line that make its entry. The name's escapes are still in it.
struct Pieces {
  std::optional<DigestKind> label;
  std::string_view name;
  std::string_view digits;
};

std::string_view withoutLeadingBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text;
}

std::optional<DigestKind> kindOfLabel(std::string_view label) {
  static constexpr auto kLabels =
      std::to_array<std::pair<std::string_view, DigestKind>>({{"MD5", DigestKind::MD5},
                                                              {"SHA1", DigestKind::SHA1},
                                                              {"SHA-1", DigestKind::SHA1},
                                                              {"SHA256", DigestKind::SHA256},
                                                              {"SHA-256", DigestKind::SHA256},
                                                              {"SHA2-256", DigestKind::SHA256},
                                                              {"SHA512", DigestKind::SHA512},
                                                              {"SHA-512", DigestKind::SHA512},
                                                              {"SHA2-512", DigestKind::SHA512}});
  for (const auto& [text, kind] : kLabels) {
    if (isSameIgnoringCase(label, text)) return kind;
  }
  return std::nullopt;
}

std::optional<Pieces> labelledPieces(std::string_view line) {
  const size_t bracket = line.find('(');
  if (bracket == std::string_view::npos) return std::nullopt;
  std::string_view label = line.substr(0, bracket);
  label = label.substr(0, label.find_last_not_of(kBlanks) + 1);
  const auto kind = kindOfLabel(label);
  if (!kind) return std::nullopt;

  // The last one: the name may hold the same bytes.
  line.remove_prefix(bracket + 1);
  size_t nameEnd = std::string_view::npos;
  size_t digitsStart = 0;
  for (const std::string_view separator : {")= ", ") = "}) {
    const size_t found = line.rfind(separator);
    if (found == std::string_view::npos || found + separator.size() < digitsStart) continue;
    nameEnd = found;
    digitsStart = found + separator.size();
  }
  if (nameEnd == std::string_view::npos) return std::nullopt;
  return Pieces{kind, line.substr(0, nameEnd), withoutLeadingBlanks(line.substr(digitsStart))};
}

std::optional<Pieces> unlabelledPieces(std::string_view line) {
  const size_t digits = std::min(line.find_first_not_of(kHexDigits), line.size());
  const std::string_view mode = line.substr(digits, 2);
  if (mode != "  " && mode != " *") return std::nullopt;
  return Pieces{std::nullopt, line.substr(digits + mode.size()), line.substr(0, digits)};
}

std::optional<std::string> withoutEscapes(std::string_view name) {
  static constexpr auto kEscapes =
      std::to_array<std::pair<char, char>>({{'\\', '\\'}, {'n', '\n'}, {'r', '\r'}});
  std::string text;
  for (size_t i = 0; i < name.size(); ++i) {
    if (name[i] != '\\') {
      text += name[i];
      continue;
    }
    if (++i == name.size()) return std::nullopt;
    const auto* const escape = std::ranges::find(kEscapes, name[i], &std::pair<char, char>::first);
    if (escape == kEscapes.end()) return std::nullopt;
    text += escape->second;
  }
  return text;
}

bool isHex(std::string_view text) {
  return !text.empty() && text.find_first_not_of(kHexDigits) == std::string_view::npos;
}

// The kind that the label, or without one the length, says; none when the length fits no kind or not the
// label.
std::optional<DigestKind> kindOf(const Pieces& pieces) {
  const auto kindOfDigits =
      pieces.digits.size() % 2 == 0 ? digestKindOfLength(pieces.digits.size() / 2) : std::nullopt;
  return pieces.label && pieces.label != kindOfDigits ? std::nullopt : kindOfDigits;
}

}  // namespace

std::variant<RVXDigestLine, const char*> RVXDigestLine::parse(std::string_view line) {
  if (line.find('\0') != std::string_view::npos) return kNoDigestLine;
  line = withoutLeadingBlanks(line);
  const bool hasEscapes = line.starts_with('\\');
  if (hasEscapes) line.remove_prefix(1);

  auto pieces = labelledPieces(line);
  if (!pieces) pieces = unlabelledPieces(line);
  if (!pieces || pieces->name.empty() || !isHex(pieces->digits)) return kNoDigestLine;
  const auto kind = kindOf(*pieces);
  if (!kind) return kWrongLength;
  auto digest = digestOfText(*kind, pieces->digits);
  auto name = hasEscapes ? withoutEscapes(pieces->name) : std::string(pieces->name);
  if (!digest || !name) return kNoDigestLine;
  return RVXDigestLine{*kind, std::move(*digest), std::move(*name)};
}

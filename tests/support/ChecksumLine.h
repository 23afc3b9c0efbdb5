#pragma once

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>
#include <string_view>

// A line of a list of digests as the coreutils read it with -c: "DIGEST  NAME" or "DIGEST *NAME", or with the
// algorithm's label "LABEL (NAME) = DIGEST", where the blanks outside the name may be missing. Behind a
// leading backslash, line ends and backslashes of the name are escaped. A carriage return at the end of the
// line is no part of it. The old form with a single blank in front of the name is not read here.
struct ChecksumLine {
  std::string digest;
  std::string name;

  // None for what a tool that makes digests of that label and length calls improperly formatted.
  static std::optional<ChecksumLine> parse(std::string_view line, std::string_view label,
                                           size_t digestLength) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    line = withoutLeadingBlanks(line);
    const bool isEscaped = line.starts_with('\\');
    if (isEscaped) line.remove_prefix(1);
    auto parsed =
        line.starts_with(label) ? labelled(line.substr(label.size())) : unlabelled(line, digestLength);
    if (!parsed || !isDigest(parsed->digest, digestLength)) return std::nullopt;
    if (!isEscaped) return parsed;
    const auto name = unescaped(parsed->name);
    if (!name) return std::nullopt;
    return ChecksumLine{parsed->digest, *name};
  }

 private:
  static std::string_view withoutLeadingBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text;
  }

  static bool isDigest(std::string_view text, size_t length) {
    return text.size() == length && std::all_of(text.begin(), text.end(), [](unsigned char character) {
             return std::isxdigit(character) != 0;
           });
  }

  // What follows the label. The last bracket ends the name.
  static std::optional<ChecksumLine> labelled(std::string_view text) {
    if (text.starts_with(' ')) text.remove_prefix(1);
    const size_t end = text.rfind(')');
    if (!text.starts_with('(') || end == std::string_view::npos) return std::nullopt;
    std::string_view rest = withoutLeadingBlanks(text.substr(end + 1));
    if (!rest.starts_with('=')) return std::nullopt;
    rest.remove_prefix(1);
    return ChecksumLine{std::string(withoutLeadingBlanks(rest)), std::string(text.substr(1, end - 1))};
  }

  static std::optional<ChecksumLine> unlabelled(std::string_view text, size_t digestLength) {
    if (text.size() < digestLength + 3) return std::nullopt;
    const std::string_view separator = text.substr(digestLength, 2);
    if (separator != "  " && separator != " *") return std::nullopt;
    return ChecksumLine{std::string(text.substr(0, digestLength)),
                        std::string(text.substr(digestLength + 2))};
  }

  static std::optional<std::string> unescaped(std::string_view name) {
    static constexpr std::string_view kLetters = "nr\\";
    static constexpr std::string_view kMeanings = "\n\r\\";
    std::string text;
    for (size_t i = 0; i < name.size(); ++i) {
      if (name[i] != '\\') {
        text += name[i];
        continue;
      }
      const size_t letter = ++i < name.size() ? kLetters.find(name[i]) : std::string_view::npos;
      if (letter == std::string_view::npos) return std::nullopt;
      text += kMeanings[letter];
    }
    return text;
  }
};

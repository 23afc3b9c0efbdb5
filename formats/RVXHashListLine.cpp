#include "formats/RVXHashListLine.h"

#include <algorithm>

#include "formats/StandardizedPath.h"
#include "platform/system/UnicodeText.h"

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
constexpr std::string_view kNameEnd = ")=";

std::string_view withoutLeadingWhiteSpace(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
  return text;
}

std::string withoutBlanks(std::string_view text) {
  std::string digest(text);
  std::erase(digest, ' ');
  return digest;
}

}  // namespace

std::optional<RVXHashListLine> RVXHashListLine::parse(std::string_view line) {
  line = withoutLeadingWhiteSpace(line);
  const size_t labelEnd = line.find('(');
  const std::string_view label = line.substr(0, labelEnd);
  if (label != "SHA1" && label != "MD5") return std::nullopt;
  if (labelEnd == std::string_view::npos) return std::nullopt;

  const size_t nameEnd = line.find(kNameEnd, labelEnd);
  if (nameEnd == std::string_view::npos) return std::nullopt;
  std::string_view name = line.substr(labelEnd, nameEnd - labelEnd);
  // The scan begins at the bracket and drops it. Where the name is empty the bracket stays and becomes the
  // name.
  if (name.size() >= 2) name.remove_prefix(1);

  const std::string digest = withoutBlanks(line.substr(nameEnd + kNameEnd.size()));
  const size_t digestLength = label == "MD5" ? 32 : 40;
  if (charactersOf(digest).size() != digestLength) return std::nullopt;
  return RVXHashListLine{std::string(label), standardizedPath(name), digest};
}

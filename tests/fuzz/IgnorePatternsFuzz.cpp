#include <fnmatch.h>

#include <algorithm>
#include <cstdint>

#include "formats/RVXIgnorePatterns.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"

// Input: a path in the first line, a pattern in each other one. Of short ones without brackets the meaning is
// worked out once more, by trying every way; of the others only the end is waited for.

namespace {

using Names = std::vector<std::string>;

constexpr size_t kLongestTried = 24;

bool areShort(const std::vector<std::string>& lines) {
  return std::all_of(lines.begin(), lines.end(), [](const std::string& line) {
    return line.size() <= kLongestTried && line.find('[') == std::string::npos &&
           line.find('\0') == std::string::npos && line.find("\\/") == std::string::npos &&
           !line.ends_with(' ');
  });
}

bool isMatch(const std::string& pattern, const std::string& name) {
  return !name.empty() && !pattern.empty() && ::fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
}

bool isStars(const std::string& pattern) {
  return pattern.size() > 1 && pattern.find_first_not_of('*') == std::string::npos;
}

bool areMatch(const Names& patterns, const Names& names) {
  if (patterns.empty() || names.empty()) return patterns.empty() && names.empty();
  const Names otherPatterns(patterns.begin() + 1, patterns.end());
  const Names otherNames(names.begin() + 1, names.end());
  if (!isStars(patterns.front()))
    return isMatch(patterns.front(), names.front()) && areMatch(otherPatterns, otherNames);
  return otherPatterns.empty() || areMatch(otherPatterns, names) || areMatch(patterns, otherNames);
}

Names namesOf(const std::string& path) {
  return piecesEndedBy('/', path + "/");
}

// Of a line that is neither empty nor a comment, without blanks at its end.
bool meansItem(std::string pattern, const std::string& path, bool isFolder) {
  if (pattern.ends_with('/')) {
    if (!isFolder) return false;
    pattern.pop_back();
  }
  const bool isForNames = pattern.find('/') == std::string::npos;
  if (pattern.starts_with('/')) pattern.erase(0, 1);
  if (pattern.empty()) return false;
  return isForNames ? isMatch(pattern, namesOf(path).back()) : areMatch(namesOf(pattern), namesOf(path));
}

bool ignoresItem(const std::vector<std::string>& lines, const std::string& path, bool isFolder) {
  bool isIgnored = false;
  for (std::string line : lines) {
    if (line.empty() || line.starts_with('#')) continue;
    const bool isNegated = line.starts_with('!');
    if (isNegated) line.erase(0, 1);
    if (meansItem(line, path, isFolder)) isIgnored = !isNegated;
  }
  return isIgnored;
}

bool ignores(const std::vector<std::string>& lines, const std::string& path, bool isFolder) {
  const size_t slash = path.rfind('/');
  return (slash != std::string::npos && ignores(lines, path.substr(0, slash), true)) ||
         ignoresItem(lines, path, isFolder);
}

bool isShortPath(const std::string& path) {
  const Names names = namesOf(path);
  return path.size() <= kLongestTried && path.find('\0') == std::string::npos &&
         std::find(names.begin(), names.end(), "") == names.end();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> lines = piecesEndedBy('\n', textOfInput(data, size));
  if (lines.empty()) return 0;
  const std::string path = lines.front();
  lines.erase(lines.begin());
  RVXIgnorePatterns patterns;
  for (const std::string& line : lines) patterns.add(line);
  for (const bool isFolder : {false, true}) {
    const bool isIgnored = patterns.ignores(path, isFolder);
    if (isShortPath(path) && areShort(lines)) {
      expectEqual("is ignored", isIgnored, ignores(lines, path, isFolder));
    }
  }
  return 0;
}

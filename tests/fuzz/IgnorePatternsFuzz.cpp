#include <cstdint>

#include "formats/RVXIgnorePatterns.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"

// Input: a path in the first line, a pattern in each other one. What each form means, the unit tests ask git.

namespace {

bool ignores(const std::vector<std::string>& lines, const std::string& path, bool isFolder) {
  RVXIgnorePatterns patterns;
  for (const std::string& line : lines) patterns.add(line);
  return patterns.ignores(path, isFolder);
}

std::vector<std::string> with(std::vector<std::string> lines, const std::string& added) {
  lines.push_back(added);
  return lines;
}

void expectEachLineToCount(const std::vector<std::string>& lines, const std::string& path, bool isFolder) {
  const bool isIgnored = ignores(lines, path, isFolder);
  expectEqual("with a comment", ignores(with(lines, "# comment"), path, isFolder), isIgnored);
  if (isFolder && isIgnored) expectTrue("what lies in it", ignores(lines, path + "/below", false));
  if (lines.empty() || lines[0].starts_with('!')) return;
  const bool isStillIgnored = ignores(with(lines, lines[0]), path, isFolder);
  const bool isNowIgnored = ignores(with(lines, "!" + lines[0]), path, isFolder);
  expectTrue("a pattern takes nothing back", isStillIgnored || !isIgnored);
  expectTrue("its opposite adds nothing", isIgnored || !isNowIgnored);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> lines = piecesEndedBy('\n', textOfInput(data, size));
  if (lines.empty()) return 0;
  const std::string path = lines.front();
  lines.erase(lines.begin());
  for (const bool isFolder : {false, true}) expectEachLineToCount(lines, path, isFolder);
  return 0;
}

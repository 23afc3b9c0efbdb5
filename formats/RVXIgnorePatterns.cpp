#include "formats/RVXIgnorePatterns.h"

#include <algorithm>
#include <utility>

#include "include/SplitText.h"

void RVXIgnorePatterns::add(std::string_view line) {
  mBytes += line.size();
  if (mBytes > kMostBytes) return;
  mLines.emplace_back(line);
  if (auto pattern = RVXIgnorePattern::parse(line)) mPatterns.push_back(std::move(*pattern));
}

bool RVXIgnorePatterns::ignores(std::string_view path, bool isFolder) const {
  const std::vector<std::string_view> names = splitAt(path, '/');
  for (size_t depth = 1; depth < names.size(); ++depth) {
    if (areIgnored(Names(names).first(depth), true)) return true;
  }
  return areIgnored(names, isFolder);
}

bool RVXIgnorePatterns::ignoresItself(std::string_view path, bool isFolder) const {
  return areIgnored(splitAt(path, '/'), isFolder);
}

bool RVXIgnorePatterns::areIgnored(Names names, bool isFolder) const {
  const auto last = std::find_if(mPatterns.rbegin(), mPatterns.rend(), [&](const RVXIgnorePattern& pattern) {
    return pattern.matches(names, isFolder);
  });
  return last != mPatterns.rend() && !last->isNegated();
}

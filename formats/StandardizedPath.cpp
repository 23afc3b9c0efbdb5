#include "formats/StandardizedPath.h"

#include <optional>
#include <vector>

#include "include/SplitText.h"
#include "platform/files/PathText.h"
#include "platform/system/Host.h"

namespace {

std::string withTildeExpanded(std::string_view path) {
  if (!path.starts_with('~')) return std::string(path);
  const std::string_view user = path.substr(1, path.find('/') - 1);
  const std::optional<std::string> home = homeFolder(std::string(user));
  if (!home) return std::string(path);
  return *home + std::string(path.substr(1 + user.size()));
}

}  // namespace

std::string standardizedPath(std::string_view path) {
  const std::string expanded = withTildeExpanded(path);
  const bool isAbsolute = expanded.starts_with('/');
  std::vector<std::string_view> kept;
  for (const std::string_view component : splitAt(expanded, '/')) {
    const bool isFirstOfRelative = !isAbsolute && kept.empty();
    if (component.empty() || (component == "." && !isFirstOfRelative)) continue;
    if (component == ".." && isAbsolute) {
      if (!kept.empty()) kept.pop_back();
      continue;
    }
    kept.push_back(component);
  }
  std::string standardized(isAbsolute ? "/" : "");
  for (const std::string_view component : kept) {
    standardized = pathByAppendingComponent(standardized, component);
  }
  return standardized;
}

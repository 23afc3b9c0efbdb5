#include "platform/RVXPathText.h"

#include <algorithm>
#include <vector>

#include "platform/RVXHost.h"

namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

std::string_view withoutLeadingSlashes(std::string_view path) {
  while (path.starts_with('/')) path.remove_prefix(1);
  return path;
}

std::string withTildeExpanded(std::string_view path) {
  if (!path.starts_with('~')) return std::string(path);
  const std::string_view user = path.substr(1, path.find('/') - 1);
  const std::optional<std::string> home = homeFolder(std::string(user));
  if (!home) return std::string(path);
  return *home + std::string(path.substr(1 + user.size()));
}

std::vector<std::string_view> componentsOf(std::string_view path) {
  std::vector<std::string_view> components;
  while (!(path = withoutLeadingSlashes(path)).empty()) {
    const std::string_view component = path.substr(0, path.find('/'));
    components.push_back(component);
    path.remove_prefix(component.size());
  }
  return components;
}

}  // namespace

std::string lastPathComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (path == "/") return "/";
  return std::string(path.substr(path.rfind('/') + 1));
}

std::string pathWithoutLastComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return "";
  return std::string(withoutTrailingSlashes(path.substr(0, slash + 1)));
}

std::string pathByAppendingComponent(std::string_view path, std::string_view component) {
  component = withoutLeadingSlashes(component);
  if (component.empty()) return std::string(path);
  if (path.empty()) return std::string(component);
  std::string joined(withoutTrailingSlashes(path));
  if (joined != "/") joined += '/';
  return joined.append(component);
}

std::string pathByAppendingExtension(std::string_view path, std::string_view extension) {
  return std::string(path).append(".").append(extension);
}

std::string standardizedPath(std::string_view path) {
  const std::string expanded = withTildeExpanded(path);
  const bool isAbsolute = expanded.starts_with('/');
  std::vector<std::string_view> kept;
  for (const std::string_view component : componentsOf(expanded)) {
    const bool isFirstOfRelative = !isAbsolute && kept.empty();
    if (component == "." && !isFirstOfRelative) continue;
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

bool isAsciiText(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) >= 0; });
}

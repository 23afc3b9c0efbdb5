#include "platform/files/PathText.h"

namespace {

std::string_view withoutLeadingSlashes(std::string_view path) {
  while (path.starts_with('/')) path.remove_prefix(1);
  return path;
}

}  // namespace

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

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

#pragma once

#include <pwd.h>
#include <unistd.h>

#include <optional>
#include <string>

// The rules of path text as rewriting of the text itself.
class PathTextModel {
 public:
  static std::string lastComponent(const std::string& path) {
    if (isRoot(path)) return "/";
    const std::string trimmed = withoutAtEnd(path, isSlash);
    return trimmed.substr(withoutAtEnd(trimmed, isNoSlash).size());
  }

  static std::string withoutLastComponent(const std::string& path) {
    if (isRoot(path)) return "/";
    const std::string folder = withoutAtEnd(withoutAtEnd(path, isSlash), isNoSlash);
    return isRoot(folder) ? "/" : withoutAtEnd(folder, isSlash);
  }

  static std::string appending(const std::string& path, const std::string& component) {
    const size_t start = component.find_first_not_of('/');
    if (start == std::string::npos) return path;
    const std::string added = component.substr(start);
    return path.empty() ? added : withoutAtEnd(path, isSlash) + "/" + added;
  }

  static std::string standardized(const std::string& path) {
    if (path.empty()) return "";
    // With a slash at the end, every component stands before one.
    std::string text = withTildeExpanded(path) + "/";
    replaceAll(text, "//", "/");
    replaceAll(text, "/./", "/");
    if (text.front() == '/') resolveParents(text);
    if (text.size() > 1) text.pop_back();
    return text;
  }

 private:
  static bool isSlash(char character) { return character == '/'; }
  static bool isNoSlash(char character) { return character != '/'; }

  static bool isRoot(const std::string& path) {
    return !path.empty() && path.find_first_not_of('/') == std::string::npos;
  }

  template <typename Matches>
  static std::string withoutAtEnd(std::string text, Matches matches) {
    while (!text.empty() && matches(text.back())) text.pop_back();
    return text;
  }

  static std::string withTildeExpanded(const std::string& path) {
    if (path.front() != '~') return path;
    const size_t userEnd = path.find('/');
    const auto home = homeOf(path.substr(1, userEnd == std::string::npos ? userEnd : userEnd - 1));
    if (!home) return path;
    return *home + (userEnd == std::string::npos ? "" : path.substr(userEnd));
  }

  static std::optional<std::string> homeOf(const std::string& user) {
    const bool isName = user.find('\0') == std::string::npos;
    const passwd* const entry = user.empty() ? ::getpwuid(::getuid()) : ::getpwnam(user.c_str());
    return isName && entry != nullptr ? std::optional<std::string>(entry->pw_dir) : std::nullopt;
  }

  // Also what only becomes one when another was replaced. The replacement is the pattern's beginning.
  static void replaceAll(std::string& text, const std::string& pattern, const std::string& replacement) {
    for (size_t i = text.find(pattern); i != std::string::npos; i = text.find(pattern, i)) {
      text.replace(i, pattern.size(), replacement);
    }
  }

  // "/name/../" is "/", and so is "/../" at the beginning.
  static void resolveParents(std::string& absolute) {
    static const std::string kParent = "/../";
    for (size_t i = absolute.find(kParent); i != std::string::npos; i = absolute.find(kParent)) {
      const size_t name = i == 0 ? 0 : absolute.rfind('/', i - 1);
      absolute.erase(name, i + kParent.size() - 1 - name);
    }
  }
};

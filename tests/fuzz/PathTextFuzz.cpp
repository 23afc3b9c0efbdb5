#include <algorithm>
#include <cstdint>
#include <filesystem>

#include "formats/StandardizedPath.h"
#include "platform/files/PathText.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"

// Input: a path and a component, a line each; those that are missing are empty. Both may hold zeros.

namespace {

bool isSlashes(const std::string& text) {
  return text.find_first_not_of('/') == std::string::npos;
}

std::string withoutSlashesAtEnd(const std::string& text) {
  return text.substr(0, text.find_last_not_of('/') + 1);
}

void expectFolderAndNameToMakeThePath(const std::string& path) {
  const std::string folder = pathWithoutLastComponent(path);
  const std::string name = lastPathComponent(path);
  expectTrue("a path that is not empty has a name", name.empty() == path.empty());
  expectTrue("a name has no slash, except the root folder's",
             name == "/" || name.find('/') == std::string::npos);
  expectTrue("a path begins with its folder", path.starts_with(folder));
  expectTrue("no slash ends a folder", folder == "/" || !folder.ends_with('/'));
  const std::string trimmed = name == "/" ? path : withoutSlashesAtEnd(path);
  expectTrue("a path ends with its name", trimmed.ends_with(name));
  const size_t nameStart = std::max(folder.size(), trimmed.size() - name.size());
  expectTrue("slashes alone are between them",
             isSlashes(trimmed.substr(folder.size(), nameStart - folder.size())));
}

void expectComponentToBeAppended(const std::string& path, const std::string& component) {
  const std::string joined = pathByAppendingComponent(path, component);
  if (isSlashes(component)) return expectEqual("with nothing", joined, path);
  const std::string added = component.substr(component.find_first_not_of('/'));
  expectTrue("the component is the end", joined.ends_with(added));
  const std::string folder = joined.substr(0, joined.size() - added.size());
  expectEqual("folder of a component", folder, path.empty() ? "" : withoutSlashesAtEnd(path) + "/");
}

void expectStandardizedToBeFinal(const std::string& path) {
  const std::string standardized = standardizedPath(path);
  expectEqual("standardized twice", standardizedPath(standardized), standardized);
  expectTrue("no slash at the end", standardized == "/" || !standardized.ends_with('/'));
}

void expectStandardizedToLeadToTheSame(const std::string& path) {
  const std::string standardized = standardizedPath(path);
  if (path.starts_with('/')) {
    const std::string normal = std::filesystem::path(path).lexically_normal();
    expectEqual("absolute", standardized, isSlashes(normal) ? "/" : withoutSlashesAtEnd(normal));
  } else if (path.starts_with('~') && !standardized.starts_with('~')) {
    const std::string user = path.substr(0, path.find('/'));
    expectTrue("no user's name has a zero", user.find('\0') == std::string::npos);
    expectEqual("below a home folder", standardized,
                standardizedPath(standardizedPath(user) + path.substr(user.size())));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> texts = piecesEndedBy('\n', textOfInput(data, size));
  texts.resize(2);
  expectFolderAndNameToMakeThePath(texts[0]);
  expectComponentToBeAppended(texts[0], texts[1]);
  expectStandardizedToBeFinal(texts[0]);
  expectStandardizedToLeadToTheSame(texts[0]);
  return 0;
}

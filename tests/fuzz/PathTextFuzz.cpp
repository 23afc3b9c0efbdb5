#include <cstdint>

#include "formats/StandardizedPath.h"
#include "platform/files/RVXPathText.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"
#include "tests/fuzz/PathTextModel.h"

// Input: a path and a component, as C strings; those that are missing are empty.

namespace {

void expectAsModelled(const std::string& path, const std::string& component) {
  expectEqual("last component", lastPathComponent(path), PathTextModel::lastComponent(path));
  expectEqual("without last component", pathWithoutLastComponent(path),
              PathTextModel::withoutLastComponent(path));
  expectEqual("appending a component", pathByAppendingComponent(path, component),
              PathTextModel::appending(path, component));
  expectEqual("appending an extension", pathByAppendingExtension(path, component), path + "." + component);
  expectEqual("standardized", standardizedPath(path), PathTextModel::standardized(path));
}

void expectFolderAndNameToMakeThePath(const std::string& path) {
  const std::string folder = pathWithoutLastComponent(path);
  const std::string name = lastPathComponent(path);
  expectTrue("a name has no slash, except the root folder's",
             name == "/" || name.find('/') == std::string::npos);
  expectTrue("a path begins with its folder", path.starts_with(folder));
  expectEqual("folder and name joined", standardizedPath(pathByAppendingComponent(folder, name)),
              standardizedPath(path));
  expectEqual("without what was appended", pathWithoutLastComponent(pathByAppendingComponent(folder, "name")),
              folder);
}

void expectStandardizedToBeFinal(const std::string& path) {
  const std::string standardized = standardizedPath(path);
  expectEqual("standardized twice", standardizedPath(standardized), standardized);
  expectTrue("no doubled slash", standardized.find("//") == std::string::npos);
  expectTrue("no slash at the end", standardized == "/" || !standardized.ends_with('/'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> texts = cStringsOfInput(data, size);
  texts.resize(2);
  expectAsModelled(texts[0], texts[1]);
  expectFolderAndNameToMakeThePath(texts[0]);
  expectStandardizedToBeFinal(texts[0]);
  return 0;
}

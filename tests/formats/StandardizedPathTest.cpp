#include <gtest/gtest.h>

#include <initializer_list>

#include "formats/StandardizedPath.h"
#include "tests/support/Tools.h"

namespace {

struct Example {
  std::string path;
  std::string standardized;
};

void expectEach(std::initializer_list<Example> examples) {
  for (const auto& [path, standardized] : examples) EXPECT_EQ(standardizedPath(path), standardized) << path;
}

}  // namespace

TEST(StandardizedPathTest, SlashesAndDots) {
  expectEach({{"/a//b///c", "/a/b/c"},
              {"..//clip.mov", "../clip.mov"},
              {"//a", "/a"},
              {"/a/./b", "/a/b"},
              {"../././b", "../b"},
              {"/a/b/", "/a/b"},
              {"a/", "a"},
              {"/", "/"}});
}

TEST(StandardizedPathTest, ParentsAreResolvedInAbsolutePathsOnly) {
  expectEach({{"/a/b/../c", "/a/c"}, {"/a/../../b", "/b"}, {"/..", "/"}, {"a/b/../c", "a/b/../c"}});
}

TEST(StandardizedPathTest, RelativeNamesStay) {
  for (const char* path : {"../clip.mov", "clip.mov", "../../a/../b", "a/..", "(", "", "..", "."}) {
    EXPECT_EQ(standardizedPath(path), path);
  }
}

TEST(StandardizedPathTest, TildeIsAHomeFolder) {
  const std::string own = outputOfShell("getent passwd \"$(id -u)\" | cut -d: -f6 | tr -d '\\n'");
  const std::string roots = outputOfShell("getent passwd root | cut -d: -f6 | tr -d '\\n'");
  const std::string withAZero("~root\0x/a", 9);
  expectEach({{"~", own},
              {"~/clip.mov", own + "/clip.mov"},
              {"~root/clip.mov", roots + "/clip.mov"},
              {"~no-such-user/a", "~no-such-user/a"},
              {"a/~", "a/~"},
              {withAZero, withAZero}});
}

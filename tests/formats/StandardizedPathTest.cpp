#include <gtest/gtest.h>

#include "formats/StandardizedPath.h"
#include "tests/support/Tools.h"

namespace {

void expectEach(const std::vector<std::pair<std::string, std::string>>& examples) {
  for (const auto& [path, standardized] : examples) EXPECT_EQ(standardizedPath(path), standardized) << path;
}

}  // namespace

TEST(StandardizedPathTest, SlashesDotsAndParentsOfAbsolutePathsAreResolved) {
  expectEach({{"/a//b///c", "/a/b/c"},
              {"..//clip.mov", "../clip.mov"},
              {"//a", "/a"},
              {"/a/./b", "/a/b"},
              {"../././b", "../b"},
              {"/a/b/", "/a/b"},
              {"a/", "a"},
              {"/", "/"},
              {"/a/b/../c", "/a/c"},
              {"/a/../../b", "/b"},
              {"/..", "/"},
              {"a/b/../c", "a/b/../c"}});
  for (const char* path : {"../clip.mov", "clip.mov", "../../a/../b", "a/..", "(", "", "..", "."}) {
    expectEach({{path, path}});
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

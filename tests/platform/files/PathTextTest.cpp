#include <gtest/gtest.h>

#include <initializer_list>

#include "platform/files/PathText.h"

namespace {

struct Example {
  const char* path;
  const char* expected;
};

struct JoiningExample {
  const char* path;
  const char* added;
  const char* expected;
};

}  // namespace

TEST(PathTextTest, LastComponent) {
  for (const auto& [path, expected] : std::initializer_list<Example>{
           {"/V/A001/clip.mov", "clip.mov"},
           {"clip.mov", "clip.mov"},
           {"A001/clip.mov", "clip.mov"},
           {"/clip.mov", "clip.mov"},
           {"..//clip.mov", "clip.mov"},
           {"..", ".."},
           {"/V/A001/", "A001"},  // slashes at the end are no component
           {"/V/A001///", "A001"},
           {"A001/", "A001"},
           {"/", "/"},
           {"///", "/"},
           {"", ""},
       }) {
    EXPECT_EQ(lastPathComponent(path), expected) << path;
  }
}

TEST(PathTextTest, WithoutLastComponent) {
  for (const auto& [path, expected] : std::initializer_list<Example>{
           {"/V/A001/clip.mov", "/V/A001"},
           {"A001/clip.mov", "A001"},
           {"../clip.mov", ".."},
           {"/V/A001/", "/V"},
           {"/V/A001//", "/V"},
           {"/V//clip.mov", "/V"},  // no slash is left at the end
           {"clip.mov", ""},
           {"A001/", ""},
           {"", ""},
           {"/clip.mov", "/"},
           {"/", "/"},
           {"//", "/"},
           {"//clip.mov", "/"},
       }) {
    EXPECT_EQ(pathWithoutLastComponent(path), expected) << path;
  }
}

TEST(PathTextTest, AppendingAComponent) {
  for (const auto& [path, added, expected] : std::initializer_list<JoiningExample>{
           {"/d1", "clip.mov", "/d1/clip.mov"},
           {"/d1/", "clip.mov", "/d1/clip.mov"},
           {"/d1//", "clip.mov", "/d1/clip.mov"},
           {"/d1", "/clip.mov", "/d1/clip.mov"},
           {"/d1/", "//clip.mov", "/d1/clip.mov"},
           {"d1", "DCIM/A001", "d1/DCIM/A001"},
           {"/", "clip.mov", "/clip.mov"},
           {"", "clip.mov", "clip.mov"},  // stays relative
           {"/d1", "", "/d1"},
           {"/d1/", "", "/d1/"},
           {"", "", ""},
           {"/d1/", "/", "/d1/"},
           {"d1", "/", "d1"},
       }) {
    EXPECT_EQ(pathByAppendingComponent(path, added), expected) << path << " and " << added;
  }
}

#include <gtest/gtest.h>

#include <random>
#include <regex>
#include <set>

#include "formats/RVXIgnorePatterns.h"
#include "tests/support/Tools.h"

namespace {

using Lines = std::vector<std::string>;

// A folder ends with "/".
const Lines kItems = {"a",       "ab",      "b",    "abc",  "a b",   "a ",    "A",      "#a",
                      "!a",      "[a]",     "a-b",  "a*b",  "a.mov", ".a",    "\\a",    "-",
                      "d/",      "d/a",     "d/ab", "d/e/", "d/e/a", "d/e/b", "d/f/",   "d/f/e/",
                      "d/f/e/a", "d/f/e/b", "e/",   "e/a",  "e/d/",  "e/d/a", "d/a.mov"};

std::string withoutSlash(const std::string& item) {
  return item.ends_with('/') ? item.substr(0, item.size() - 1) : item;
}

// Many trees, each with patterns of its own, about which git is asked once: "TREE/PATH" of all that it
// ignores.
class Trees {
 public:
  void add(const Lines& patterns) {
    const std::string tree = mFolder.folder(std::to_string(mCount++));
    for (const std::string& item : kItems) {
      const std::string path = tree + "/" + item;
      if (item.ends_with('/')) {
        std::filesystem::create_directories(path);
      } else {
        writeFile(path, "");
      }
      mAsked += std::to_string(mCount - 1) + "/" + withoutSlash(item) + '\0';
    }
    std::string text;
    for (const std::string& pattern : patterns) text += pattern + "\n";
    writeFile(tree + "/.gitignore", text);
  }

  std::set<std::string> ignored() {
    writeFile(mFolder.path("asked"), mAsked);
    const std::string output =
        outputOfShell("cd '" + mFolder.path() +
                      "' && git init -q . && git -c core.excludesFile=/dev/null check-ignore --no-index -z "
                      "--stdin < asked");
    std::set<std::string> paths;
    for (size_t start = 0; start < output.size();) {
      const size_t end = output.find('\0', start);
      paths.insert(output.substr(start, end - start));
      start = end + 1;
    }
    return paths;
  }

 private:
  TemporaryFolder mFolder;
  std::string mAsked;
  size_t mCount = 0;
};

std::string shown(const Lines& patterns) {
  std::string text;
  for (const std::string& pattern : patterns) text += "\"" + pattern + "\" ";
  return text;
}

// The number of items that are ignored, so that a test can tell whether anything was.
size_t expectAsGit(const std::vector<Lines>& lists) {
  Trees trees;
  for (const Lines& list : lists) trees.add(list);
  const std::set<std::string> ignored = trees.ignored();
  for (size_t i = 0; i < lists.size(); ++i) {
    RVXIgnorePatterns patterns;
    for (const std::string& line : lists[i]) patterns.add(line);
    for (const std::string& item : kItems) {
      EXPECT_EQ(patterns.ignores(withoutSlash(item), item.ends_with('/')),
                ignored.contains(std::to_string(i) + "/" + withoutSlash(item)))
          << item << " by " << shown(lists[i]);
    }
  }
  return ignored.size();
}

std::string patternOf(std::mt19937& random) {
  static const Lines kPieces = {"a", "b",  "d",   "e", "a",    "/",     "/",    "/",           "*",    "**",
                                "?", "\\", "[ab", "]", "[!a]", "[a-d]", "**/",  "/**",         "/**/", "*",
                                " ", "!",  "#",   "[", "-",    "[]a]",  "[^b]", "[[:alpha:]]", "a*",   "\\*"};
  std::string pattern;
  const size_t count = 1 + random() % 6;
  for (size_t i = 0; i < count; ++i) pattern += kPieces[random() % kPieces.size()];
  return random() % 5 == 0 ? "!" + pattern : pattern;
}

// git compares what stands before the first special character apart from the rest, so that "a**" with more
// behind it means something else to it than its manual says.
bool isTakenOtherwiseByGit(const std::string& pattern) {
  static const std::regex kStarsBehindAName(R"(!?[^*?\[\\]*[^*?\[\\/]\*\*+(\\?/.*)?)");
  return pattern.find('/') != std::string::npos && std::regex_match(pattern, kStarsBehindAName);
}

}  // namespace

TEST(RVXIgnorePatternsTest, EveryFormIsAsGitTakesIt) {
  std::vector<Lines> lists;
  for (const char* pattern :
       {"a",          "a/",        "/a",       "d/",           "d/a",      "/d/a",
        "d/e/",       "e/d",       "*",        "*/",           "*.mov",    "a*",
        "a?",         "?",         "[a-b]",    "[!a]",         "[^a]",     "[]a]",
        "[a",         "[",         "[]",       "[!]",          "[a\\]b]",  "[\\a]",
        "[a-]*",      "[-a]*",     "a[-]b",    "a[*]b",        "[[]a]",    "[[:alpha:]]",
        "[[:none:]]", "[[:alpha]", "[[:]a]",   "[[:space:]]*", "a\\*b",    "a*b",
        "**",         "**/",       "/**",      "**/a",         "d/**",     "d/**/",
        "d/**/a",     "d/**/e/a",  "**/e/**",  "**/**",        "**/e",     "d/*",
        "d/*/a",      "*/a",       "*/*/a",    "/*",           "/*/",      "d/***/a",
        "***",        "d*/a",      "*/e/*",    "d/*/e/*",      "**/*/a",   "#a",
        "\\#a",       "\\!a",      "!a",       "\\\\a",        "a\\",      "\\a",
        "a ",         "a\\ ",      "a \\",     "a  ",          "a b",      "",
        " ",          "!",         "/",        "//",           "//a",      "d//a",
        "d/a/",       "\\/a",      "d\\/a",    "d[/]a",        "d?a",      "[!x]",
        "[a-\\b]",    "[b-a]",     "[a-b-c]b", "[:alpha:]",    ".*",       "A",
        "d/**e/a",    "d/e**",     "x**/d/e",  "ab",           "d/f/**/b", "**/f/**/a"}) {
    if (!isTakenOtherwiseByGit(pattern)) lists.push_back({pattern});
  }
  EXPECT_GT(expectAsGit(lists), 100U);
}

TEST(RVXIgnorePatternsTest, TheLastOneThatMatchesDecides) {
  EXPECT_GT(expectAsGit({{"*", "!a"},
                         {"!a", "*"},
                         {"d/", "!d/a"},
                         {"d/*", "!d/e", "d/e/*", "!d/e/a"},
                         {"/*", "!/d", "/d/*", "!/d/f/"},
                         {"*.mov", "!/a.mov"},
                         {"a", "!a", "a"},
                         {"**/a", "!d/**"},
                         {"# a", "", "b"},
                         {".DS_Store", "._*", "a/", "!a/"}}),
            50U);
}

TEST(RVXIgnorePatternsTest, AnyPatternsAreAsGitTakesThem) {
  std::mt19937 random(1);
  std::vector<Lines> lists;
  while (lists.size() < 400) {
    Lines list;
    for (size_t i = 0; i < 1 + random() % 3; ++i) list.push_back(patternOf(random));
    if (std::none_of(list.begin(), list.end(), isTakenOtherwiseByGit)) lists.push_back(list);
  }
  EXPECT_GT(expectAsGit(lists), 1000U);
}

TEST(RVXIgnorePatternsTest, AnItemWhoseFoldersAreKnown) {
  RVXIgnorePatterns patterns;
  patterns.add("d/");
  EXPECT_TRUE(patterns.ignores("d/a", false));
  EXPECT_FALSE(patterns.ignoresItself("d/a", false));
  EXPECT_TRUE(patterns.ignoresItself("d", true));
}

// By trying every way of the stars, either would take longer than the test may.
TEST(RVXIgnorePatternsTest, PatternsMadeToTakeTimeDoNot) {
  std::string stars;
  std::string folders;
  for (int i = 0; i < 500; ++i) stars += "*a";
  for (int i = 0; i < 500; ++i) folders += "**/a/";
  RVXIgnorePatterns patterns;
  patterns.add(stars + "b");
  patterns.add(folders + "b");
  std::string path = std::string(255, 'a');
  for (int i = 0; i < 1000; ++i) path += "/a";
  EXPECT_FALSE(patterns.ignores(path, false));
  EXPECT_TRUE(patterns.ignores(path + "/b", false));
  EXPECT_TRUE(patterns.ignores(std::string(600, 'a') + "b", false));
}

TEST(RVXIgnorePatternsTest, TooMuchOfPatternsIsNotUsed) {
  RVXIgnorePatterns patterns;
  patterns.add(std::string(RVXIgnorePattern::kLongest, 'a'));
  EXPECT_TRUE(patterns.ignores(std::string(RVXIgnorePattern::kLongest, 'a'), false));
  patterns.add(std::string(RVXIgnorePattern::kLongest, '*') + "*");
  EXPECT_FALSE(patterns.ignores("b", false));
  for (size_t bytes = 0; bytes < RVXIgnorePatterns::kMostBytes; bytes += 4000)
    patterns.add(std::string(4000, 'b'));
  patterns.add("b");
  EXPECT_FALSE(patterns.ignores("b", false));
}

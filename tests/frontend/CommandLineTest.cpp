#include <gtest/gtest.h>

#include "frontend/CommandLine.h"

// What ends the process, and with which lines, the process tests show.

namespace {

using Arguments = std::vector<std::string>;

// A source, a destination, and what is tested.
CopyJobOptions parsed(Arguments arguments) {
  arguments.insert(arguments.end(), {"a.mov", "/d1/"});
  return parseArguments(arguments);
}

}  // namespace

TEST(CommandLineTest, Defaults) {
  const CopyJobOptions options = parsed({});
  EXPECT_FALSE(options.verbose || options.isSequence || options.forceOverwrite || options.skipVerification);
  EXPECT_EQ(options.preserveDepth, 0);
  EXPECT_EQ(options.algorithm, HashAlgorithm::SHA1);
  EXPECT_TRUE(options.writeHashList);
  EXPECT_EQ(options.sourceArgument, "a.mov");
  EXPECT_EQ(options.destinationArguments, Arguments{"/d1/"});
}

TEST(CommandLineTest, EachFlagSetsItsOptionOnlyAlsoAsALongerWord) {
  const std::vector<std::pair<bool CopyJobOptions::*, Arguments>> flags = {
      {&CopyJobOptions::verbose, {"-v", "-verbose", "-vs", "-video.mov"}},
      {&CopyJobOptions::isSequence, {"-s", "-sequence"}},
      {&CopyJobOptions::forceOverwrite, {"-f", "-force"}},
      {&CopyJobOptions::skipVerification, {"-n", "-nx"}}};
  for (const auto& [option, words] : flags) {
    for (const std::string& word : words) {
      const CopyJobOptions options = parsed({word});
      for (const auto& [other, otherWords] : flags) EXPECT_EQ(options.*other, other == option) << word;
      EXPECT_EQ(options.sourceArgument, "a.mov") << word;
    }
  }
}

TEST(CommandLineTest, OptionsAndPathsMixFreelyAndPathsKeepTheirOrder) {
  const CopyJobOptions options = parseArguments(
      {"a \u00E4 %s\n.mov", "-v", "/z/", "-type", "md5", "/d2/b.mov", "-path", "3", "/z/", "-output", "0"});
  EXPECT_EQ(options.sourceArgument, "a \u00E4 %s\n.mov");
  EXPECT_EQ(options.destinationArguments, (Arguments{"/z/", "/d2/b.mov", "/z/"}));
  EXPECT_TRUE(options.verbose);
  EXPECT_EQ(options.algorithm, HashAlgorithm::MD5);
  EXPECT_EQ(options.preserveDepth, 3);
  EXPECT_FALSE(options.writeHashList);
}

TEST(CommandLineTest, OtherHyphensAndEmptyTextsArePaths) {
  for (const char* text : {"", "--", "-x", "--verbose", "-V", "-", "-3"}) {
    const CopyJobOptions options = parseArguments({text, text});
    EXPECT_EQ(options.sourceArgument, text);
    EXPECT_EQ(options.destinationArguments, Arguments{text});
    EXPECT_FALSE(options.verbose) << text;
  }
}

TEST(CommandLineTest, DepthIsReadLenientlyFromTheNextArgumentWhateverItIs) {
  for (int depth = 0; depth <= 6; ++depth) {
    EXPECT_EQ(parsed({"-p", std::to_string(depth)}).preserveDepth, depth);
  }
  for (const auto& [text, depth] : std::vector<std::pair<std::string, int>>{
           {"abc", 0}, {"", 0}, {" \t\n+4x", 4}, {"3.9", 3}, {"006", 6}, {"-0", 0}, {"-v", 0}}) {
    const CopyJobOptions options = parsed({"-p", text});
    EXPECT_EQ(options.preserveDepth, depth) << text;
    EXPECT_FALSE(options.verbose) << text;
  }
}

TEST(CommandLineTest, AnyNumberButZeroWritesHashLists) {
  for (const char* value : {"1", "2", "-1", "99999999999999999999", " 1"}) {
    EXPECT_TRUE(parsed({"-o", value}).writeHashList) << value;
  }
  for (const char* value : {"0", "false", "no", "true", "", "-0", "000", "0.9"}) {
    EXPECT_FALSE(parsed({"-o", value}).writeHashList) << value;
  }
}

#include <gtest/gtest.h>

#include <filesystem>

#include "frontend/CommandLine.h"
#include "tests/frontend/ExpectedUsage.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/OutputCapture.h"

namespace {

namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

const std::string kDepthError = "-p must be followed by a number between 0 and 6.";
const std::string kHashTypeError = "-t must be followed by md5 or sha1.";
const std::string kWriteHashListError = "-o needs to be followed by 0 (false) or 1 (true)";

// A source, a destination, and what is tested.
CopyJobOptions parsed(Arguments arguments) {
  arguments.insert(arguments.end(), {"a.mov", "/d1/"});
  return parseArguments(arguments);
}

void expectWrongArguments(const Arguments& arguments, int status, const std::string& problem) {
  const ChildEnd end = runInChild([&] { parseArguments(arguments); });
  EXPECT_EQ(end.status, status);
  EXPECT_EQ(end.output, "ERROR: Wrong arguments - " + problem + "\n\n" + kExpectedUsage);
}

// Source argument, sequence or movie, as the start of a run checks it.
ChildEnd checkInChild(const std::string& source, bool isSequence) {
  return runInChild([&] {
    CopyJobOptions options;
    options.sourceArgument = source;
    options.isSequence = isSequence;
    checkSource(options, parseSequence(options));
  });
}

void expectPasses(const std::string& source, bool isSequence = false) {
  const ChildEnd end = checkInChild(source, isSequence);
  EXPECT_EQ(end.output, "");
  EXPECT_EQ(end.status, kBodyReturned);
}

void expectSourceError(const ChildEnd& end, const std::string& error) {
  EXPECT_EQ(end.status, 104);
  EXPECT_EQ(end.output, error + "\n\n" + kExpectedUsage);
}

}  // namespace

TEST(CommandLineTest, FewerThanTwoArgumentsPrintHeaderAndUsageAndEndWith100) {
  for (const Arguments& arguments : {Arguments{}, Arguments{"a"}, Arguments{"-v"}}) {
    const ChildEnd end = runInChild([&] { requireTwoArguments(arguments); });
    EXPECT_EQ(end.status, 100);
    const std::string beginning = "rvxcopy\nSecure Copy and Verify of movies and image sequences";
    ASSERT_TRUE(end.output.starts_with(beginning)) << end.output;
    // What follows is a notice of free choice up to the end of its line, an empty line, and the usage text.
    const std::string rest = end.output.substr(beginning.size());
    EXPECT_EQ(rest.substr(rest.find('\n')), "\n\n" + kExpectedUsage);
  }
}

TEST(CommandLineTest, TwoArgumentsAreEnough) {
  for (const Arguments& arguments : {Arguments{"a", "b"}, Arguments{"-v", "-s"}, Arguments{"a", "b", "c"}}) {
    EXPECT_EQ(outputOf([&] { requireTwoArguments(arguments); }), "");
  }
}

TEST(CommandLineTest, Defaults) {
  const CopyJobOptions options = parsed({});
  EXPECT_FALSE(options.verbose);
  EXPECT_FALSE(options.isSequence);
  EXPECT_FALSE(options.forceOverwrite);
  EXPECT_EQ(options.preserveDepth, 0);
  EXPECT_EQ(options.algorithm, HashAlgorithm::SHA1);
  EXPECT_TRUE(options.writeHashList);
  EXPECT_FALSE(options.skipVerification);
  EXPECT_EQ(options.sourceArgument, "a.mov");
  EXPECT_EQ(options.destinationArguments, Arguments{"/d1/"});
}

TEST(CommandLineTest, EachFlagSetsItsOptionOnly) {
  EXPECT_TRUE(parsed({"-v"}).verbose);
  EXPECT_TRUE(parsed({"-s"}).isSequence);
  EXPECT_TRUE(parsed({"-f"}).forceOverwrite);
  EXPECT_TRUE(parsed({"-n"}).skipVerification);
  const CopyJobOptions options = parsed({"-v"});
  EXPECT_FALSE(options.isSequence || options.forceOverwrite || options.skipVerification);
}

TEST(CommandLineTest, OptionsAreRecognisedByTheirBeginning) {
  const CopyJobOptions options =
      parsed({"-verbose", "-sequence", "-force", "-nx", "-path", "2", "-type", "md5", "-output", "0"});
  EXPECT_TRUE(options.verbose);
  EXPECT_TRUE(options.isSequence);
  EXPECT_TRUE(options.forceOverwrite);
  EXPECT_TRUE(options.skipVerification);
  EXPECT_EQ(options.preserveDepth, 2);
  EXPECT_EQ(options.algorithm, HashAlgorithm::MD5);
  EXPECT_FALSE(options.writeHashList);
}

TEST(CommandLineTest, PathThatBeginsLikeAnOptionIsTheOption) {
  const CopyJobOptions options = parseArguments({"-video.mov", "a.mov", "/d1/"});
  EXPECT_TRUE(options.verbose);
  EXPECT_EQ(options.sourceArgument, "a.mov");
}

TEST(CommandLineTest, ShortOptionsAreNotCombined) {
  const CopyJobOptions options = parsed({"-vs"});
  EXPECT_TRUE(options.verbose);
  EXPECT_FALSE(options.isSequence);
}

TEST(CommandLineTest, OptionsAndPathsMixFreely) {
  const CopyJobOptions options =
      parseArguments({"a.mov", "-v", "/d1/", "-t", "md5", "/d2/b.mov", "-p", "3", "/d3/", "-n"});
  EXPECT_EQ(options.sourceArgument, "a.mov");
  EXPECT_EQ(options.destinationArguments, (Arguments{"/d1/", "/d2/b.mov", "/d3/"}));
  EXPECT_TRUE(options.verbose && options.skipVerification);
  EXPECT_EQ(options.algorithm, HashAlgorithm::MD5);
  EXPECT_EQ(options.preserveDepth, 3);
}

TEST(CommandLineTest, DestinationsKeepTheirOrderAndDuplicates) {
  EXPECT_EQ(parseArguments({"a", "/z/", "/b/", "/z/"}).destinationArguments,
            (Arguments{"/z/", "/b/", "/z/"}));
}

TEST(CommandLineTest, OtherHyphensArePaths) {
  const CopyJobOptions options = parseArguments({"--", "-x", "--verbose", "-V", "-", "-3"});
  EXPECT_EQ(options.sourceArgument, "--");
  EXPECT_EQ(options.destinationArguments, (Arguments{"-x", "--verbose", "-V", "-", "-3"}));
  EXPECT_FALSE(options.verbose);
}

TEST(CommandLineTest, LastOccurrenceWins) {
  const CopyJobOptions options =
      parsed({"-t", "md5", "-p", "5", "-o", "0", "-t", "sha1", "-p", "1", "-o", "1"});
  EXPECT_EQ(options.algorithm, HashAlgorithm::SHA1);
  EXPECT_EQ(options.preserveDepth, 1);
  EXPECT_TRUE(options.writeHashList);
}

TEST(CommandLineTest, EmptyTextIsASource) {
  const CopyJobOptions options = parseArguments({"", "/d1/"});
  EXPECT_EQ(options.sourceArgument, "");
  EXPECT_EQ(options.destinationArguments, Arguments{"/d1/"});
}

TEST(CommandLineTest, ArgumentsAreTakenAsTheyAre) {
  EXPECT_EQ(parseArguments({"\u00E4 %s\n.mov", "/d1/"}).sourceArgument, "\u00E4 %s\n.mov");
}

TEST(CommandLineTest, DepthsFromZeroToSix) {
  for (int depth = 0; depth <= 6; ++depth) {
    EXPECT_EQ(parsed({"-p", std::to_string(depth)}).preserveDepth, depth);
  }
}

TEST(CommandLineTest, DepthIsReadLeniently) {
  EXPECT_EQ(parsed({"-p", "abc"}).preserveDepth, 0);
  EXPECT_EQ(parsed({"-p", ""}).preserveDepth, 0);
  EXPECT_EQ(parsed({"-p", " \t\n+4x"}).preserveDepth, 4);
  EXPECT_EQ(parsed({"-p", "3.9"}).preserveDepth, 3);
  EXPECT_EQ(parsed({"-p", "006"}).preserveDepth, 6);
  EXPECT_EQ(parsed({"-p", "-0"}).preserveDepth, 0);
}

TEST(CommandLineTest, DepthTakesTheNextArgumentWhateverItIs) {
  const CopyJobOptions options = parsed({"-p", "-v"});
  EXPECT_EQ(options.preserveDepth, 0);
  EXPECT_FALSE(options.verbose);
}

TEST(CommandLineTest, WrongDepthsEndWith106) {
  for (const char* depth : {"7", "-1", "12", "99999999999999999999", "-99999999999999999999", "4294967296"}) {
    expectWrongArguments({"-p", depth, "a.mov", "/d1/"}, 106, kDepthError);
  }
}

TEST(CommandLineTest, MissingDepthEndsWith106) {
  expectWrongArguments({"a.mov", "/d1/", "-p"}, 106, kDepthError);
}

TEST(CommandLineTest, HashTypes) {
  EXPECT_EQ(parsed({"-t", "md5"}).algorithm, HashAlgorithm::MD5);
  EXPECT_EQ(parsed({"-t", "sha1"}).algorithm, HashAlgorithm::SHA1);
}

TEST(CommandLineTest, WrongHashTypesEndWith108) {
  for (const char* type : {"SHA1", "MD5", "Md5", "sha256", "", " md5", "md5 ", "sha-1", "-v"}) {
    expectWrongArguments({"-t", type, "a.mov", "/d1/"}, 108, kHashTypeError);
  }
}

TEST(CommandLineTest, MissingHashTypeEndsWith108) {
  expectWrongArguments({"a.mov", "/d1/", "-t"}, 108, kHashTypeError);
}

TEST(CommandLineTest, AnyNumberButZeroWritesHashLists) {
  for (const char* value : {"1", "2", "-1", "99999999999999999999", " 1"}) {
    EXPECT_TRUE(parsed({"-o", value}).writeHashList) << value;
  }
}

TEST(CommandLineTest, ZeroAndTextsThatAreNoNumberWriteNoHashListsWithoutAMessage) {
  for (const char* value : {"0", "false", "no", "true", "", "-0", "000", "0.9"}) {
    bool writesHashList = true;
    EXPECT_EQ(outputOf([&] { writesHashList = parsed({"-o", value}).writeHashList; }), "") << value;
    EXPECT_FALSE(writesHashList) << value;
  }
}

TEST(CommandLineTest, MissingValueOfWriteHashListEndsWith109) {
  expectWrongArguments({"a.mov", "/d1/", "-o"}, 109, kWriteHashListError);
}

TEST(CommandLineTest, NoSourceEndsWith102) {
  expectWrongArguments({"-v", "-s"}, 102, "missing source movie or sequence.");
}

TEST(CommandLineTest, NoDestinationEndsWith103) {
  expectWrongArguments({"-v", "a.mov"}, 103, "missing destination path.");
}

TEST(CommandLineTest, WrongOptionIsFoundBeforeAMissingSource) {
  expectWrongArguments({"-v", "-p"}, 106, kDepthError);
  expectWrongArguments({"-v", "-t"}, 108, kHashTypeError);
  expectWrongArguments({"-v", "-o"}, 109, kWriteHashListError);
}

TEST(CommandLineTest, FirstWrongOptionIsReported) {
  expectWrongArguments({"-t", "x", "-p", "7"}, 108, kHashTypeError);
}

TEST(CommandLineTest, MovieIsNoSequence) {
  CopyJobOptions options;
  options.sourceArgument = "clip_1-3####.dpx";
  EXPECT_FALSE(parseSequence(options).has_value());
}

TEST(CommandLineTest, SequenceIsParsed) {
  CopyJobOptions options;
  options.isSequence = true;
  options.sourceArgument = "clip_1-3####.dpx";
  EXPECT_EQ(parseSequence(options).value().filenameForIndex(0), "clip_0001.dpx");
}

TEST(CommandLineTest, WrongSequenceIdentifierEndsWith113) {
  const ChildEnd end = checkInChild("clip.dpx", true);
  EXPECT_EQ(end.status, 113);
  EXPECT_EQ(end.output,
            "ERROR: Wrong arguments - missing hashes in identifier.\n"
            "ERROR: Can't parse sequence identifier.\n\n" +
                kExpectedUsage);
}

TEST(CommandLineTest, SourceThatIsAFilePasses) {
  const TemporaryFolder folder;
  expectPasses(writeFile(folder.path("clip.mov"), ""));
}

TEST(CommandLineTest, MissingSourceEndsWith104) {
  expectSourceError(checkInChild("/nothing/%s.mov", false),
                    "ERROR: Source path /nothing/%s.mov does not exist.");
}

TEST(CommandLineTest, SourceFolderEndsWith104) {
  const TemporaryFolder folder;
  expectSourceError(checkInChild(folder.path(), false),
                    "ERROR: Source path " + folder.path() + " is not a file.");
}

TEST(CommandLineTest, EmptySourceDoesNotExist) {
  expectSourceError(checkInChild("", false), "ERROR: Source path  does not exist.");
}

TEST(CommandLineTest, LinkPassesWhateverItLeadsTo) {
  const TemporaryFolder folder;
  fs::create_directory_symlink(folder.path(), folder.path("to folder"));
  fs::create_symlink("nowhere", folder.path("to nothing"));
  fs::create_symlink(writeFile(folder.path("clip.mov"), ""), folder.path("to file"));
  for (const char* link : {"to folder", "to nothing", "to file"}) expectPasses(folder.path(link));
}

TEST(CommandLineTest, LinkToAFolderWithASlashIsTheFolder) {
  const TemporaryFolder folder;
  fs::create_directory_symlink(folder.path(), folder.path("link"));
  expectSourceError(checkInChild(folder.path("link/"), false),
                    "ERROR: Source path " + folder.path("link/") + " is not a file.");
}

TEST(CommandLineTest, OnlyTheFirstFrameOfASequenceIsChecked) {
  const TemporaryFolder folder;
  writeFile(folder.path("clip_0001.dpx"), "");
  expectPasses(folder.path("clip_1-100####.dpx"), true);
}

TEST(CommandLineTest, MissingFirstFrameEndsWith104AndIsNamed) {
  const TemporaryFolder folder;
  writeFile(folder.path("clip_0002.dpx"), "");
  expectSourceError(checkInChild(folder.path("clip_1-2####.dpx"), true),
                    "ERROR: Source path " + folder.path("clip_0001.dpx") + " does not exist.");
}

TEST(CommandLineTest, FirstFrameThatIsAFolderEndsWith104) {
  const TemporaryFolder folder;
  folder.folder("clip_0001.dpx");
  expectSourceError(checkInChild(folder.path("clip_1-2####.dpx"), true),
                    "ERROR: Source path " + folder.path("clip_0001.dpx") + " is not a file.");
}

TEST(CommandLineTest, FirstFrameThatIsALinkPasses) {
  const TemporaryFolder folder;
  fs::create_symlink("nowhere", folder.path("clip_0001.dpx"));
  expectPasses(folder.path("clip_1-2####.dpx"), true);
}

TEST(CommandLineTest, SequenceWithoutAFrameHasNoFirstOne) {
  expectSourceError(checkInChild("clip_7-3####.tif", true),
                    "ERROR: framenumber not in range of sequence.\n"
                    "ERROR: Source path (null) does not exist.");
}

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "copy/RVXCopyOperationThreaded.h"
#include "tests/copy/RVXCopyBufferManagerProbe.h"
#include "tests/copy/RVXCopyOperationThreadedProbe.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Text.h"
#include "tests/support/Tools.h"
#include "tests/support/Waiting.h"

namespace {

namespace fs = std::filesystem;
using Operation = RVXCopyOperationThreaded;
using Probe = RVXCopyOperationThreadedProbe;

constexpr size_t kMebibyte = size_t{1024} * 1024;

// Of empty input: RFC 1321 and FIPS 180.
constexpr const char* kMD5OfNothing = "d41d8cd98f00b204e9800998ecf8427e";
constexpr const char* kSHA1OfNothing = "da39a3ee5e6b4b0d3255bfef95601890afd80709";

std::string existsMessage(int number, const std::string& path) {
  return "ERROR: File destination #" + std::to_string(number) + " (" + path + ") already exists.\n";
}

class RVXCopyOperationThreadedTest : public testing::Test {
 protected:
  // A copy from `mSource` under the name "copy" into each of the folders.
  [[nodiscard]] std::unique_ptr<Operation> operationTo(std::vector<std::string> folders, bool force = false,
                                                       bool skip = false) const {
    std::vector<std::string> names(folders.size(), "copy");
    return Operation::initWithSourcePath(mSource, std::move(folders), std::move(names), force, skip);
  }

  // The same, run.
  std::unique_ptr<Operation> copyTo(std::vector<std::string> folders, bool force = false,
                                    bool skip = false) const {
    auto operation = operationTo(std::move(folders), force, skip);
    operation->main();
    return operation;
  }

  // The same in a child process, for those that end the process.
  ChildEnd copyInChild(const std::vector<std::string>& folders, bool force = false) const {
    return runInChild([&] { copyTo(folders, force); });
  }

  // A copy of a link, and what it prints.
  std::unique_ptr<Operation> verboseCopyTo(const std::vector<std::string>& folders, bool skip,
                                           std::string& output, int algorithm = 0) const {
    auto operation = operationTo(folders, false, skip);
    operation->setVerbose(true);
    operation->setAlgorithm(static_cast<HashAlgorithm>(algorithm));
    output = outputOf([&] { operation->main(); });
    return operation;
  }

  static void expectFailed(const Operation& operation, int code, const std::string& description) {
    EXPECT_TRUE(operation.isFailed());
    ASSERT_TRUE(operation.error().has_value());
    EXPECT_EQ(operation.error()->domain, "rvxcopy");
    EXPECT_EQ(operation.error()->code, code);
    EXPECT_EQ(operation.error()->description, description);
    EXPECT_FALSE(operation.hash().has_value());
  }

  static void expectDone(const Operation& operation) {
    EXPECT_FALSE(operation.isFailed());
    EXPECT_FALSE(operation.error().has_value());
  }

  // The source becomes a link with that target text.
  void makeSourceALinkTo(const std::string& target) const { fs::create_symlink(target, mSource); }

  const Deadline mDeadline;
  TemporaryFolder mFolder;
  std::string mSource = mFolder.path("source");
  std::string mD1 = mFolder.folder("d1");
  std::string mD2 = mFolder.folder("d2");
};

}  // namespace

TEST_F(RVXCopyOperationThreadedTest, NewOperationHasNoResult) {
  const auto operation = operationTo({mD1});
  EXPECT_FALSE(operation->verbose());
  EXPECT_EQ(operation->algorithm(), HashAlgorithm::SHA1);
  EXPECT_EQ(operation->fileSize(), 0);
  EXPECT_EQ(operation->allFilesSize(), 0);
  EXPECT_EQ(operation->sizeOfAllFilesProcessed(), 0);
  EXPECT_FALSE(operation->hash().has_value());
  expectDone(*operation);
}

TEST_F(RVXCopyOperationThreadedTest, PropertiesKeepWhatTheyAreGiven) {
  const auto operation = operationTo({mD1});
  operation->setVerbose(true);
  operation->setAlgorithm(HashAlgorithm::MD5);
  operation->setAllFilesSize(int64_t{1} << 40);
  operation->setSizeOfAllFilesProcessed(int64_t{1} << 39);
  EXPECT_TRUE(operation->verbose());
  EXPECT_EQ(operation->algorithm(), HashAlgorithm::MD5);
  EXPECT_EQ(operation->allFilesSize(), int64_t{1} << 40);
  EXPECT_EQ(operation->sizeOfAllFilesProcessed(), int64_t{1} << 39);
}

TEST_F(RVXCopyOperationThreadedTest, CopiesToAllDestinationsAndDigests) {
  writeFile(mSource, patternBytes(12345));
  const auto operation = copyTo({mD1, mD2 + "/", "/dev/null/"});
  expectDone(*operation);
  EXPECT_EQ(operation->fileSize(), 12345);
  EXPECT_EQ(operation->hash(), toolSHA1OfFile(mSource));
  EXPECT_TRUE(readFile(mD1 + "/copy") == patternBytes(12345));
  EXPECT_TRUE(readFile(mD2 + "/copy") == patternBytes(12345));
}

TEST_F(RVXCopyOperationThreadedTest, EachDestinationHasItsOwnName) {
  writeFile(mSource, "movie");
  Operation::initWithSourcePath(mSource, {mD1, mD2, mD2}, {"a.mov", "b.mov", "c.mov"}, false, false)->main();
  EXPECT_EQ(readFile(mD1 + "/a.mov"), "movie");
  EXPECT_EQ(readFile(mD2 + "/b.mov"), "movie");
  EXPECT_EQ(readFile(mD2 + "/c.mov"), "movie");
}

TEST_F(RVXCopyOperationThreadedTest, SourceIsLeftAsItIs) {
  writeFile(mSource, "movie");
  copyTo({mD1});
  EXPECT_EQ(readFile(mSource), "movie");
}

TEST_F(RVXCopyOperationThreadedTest, AlgorithmMD5GivesTheMD5Digest) {
  writeFile(mSource, patternBytes(12345));
  const auto operation = operationTo({mD1});
  operation->setAlgorithm(HashAlgorithm::MD5);
  operation->main();
  EXPECT_EQ(operation->hash(), toolMD5OfFile(mSource));
}

TEST_F(RVXCopyOperationThreadedTest, OtherAlgorithmsGiveNoDigestButPrintBoth) {
  writeFile(mSource, "movie");
  std::string output;
  const auto operation = verboseCopyTo({mD1}, false, output, 2);
  expectDone(*operation);
  EXPECT_FALSE(operation->hash().has_value());
  EXPECT_NE(
      output.find("hash SHA1:" + toolSHA1OfFile(mSource) + "\nhash MD5:" + toolMD5OfFile(mSource) + "\n"),
      std::string::npos)
      << output;
}

TEST_F(RVXCopyOperationThreadedTest, AlgorithmChosenAfterTheCopyHasNoDigest) {
  writeFile(mSource, "movie");
  const auto operation = copyTo({mD1});
  operation->setAlgorithm(HashAlgorithm::MD5);
  EXPECT_FALSE(operation->hash().has_value());
}

TEST_F(RVXCopyOperationThreadedTest, EmptySourceHasTheDigestOfNothing) {
  writeFile(mSource, "");
  const auto operation = copyTo({mD1});
  expectDone(*operation);
  EXPECT_EQ(operation->fileSize(), 0);
  EXPECT_EQ(operation->hash(), kSHA1OfNothing);
  EXPECT_TRUE(exists(mD1 + "/copy"));
  EXPECT_EQ(readFile(mD1 + "/copy"), "");
}

TEST_F(RVXCopyOperationThreadedTest, EmptySourceDoesNotEnterTheProgressLoop) {
  writeFile(mSource, "");
  std::string output;
  verboseCopyTo({mD1}, false, output);
  EXPECT_EQ(output, std::string("hash SHA1:") + kSHA1OfNothing + "\nhash MD5:" + kMD5OfNothing + "\n");
}

TEST_F(RVXCopyOperationThreadedTest, VerboseCopyPrintsOnlyStatusLinesAndDigests) {
  writeFile(mSource, "movie");
  std::string output;
  verboseCopyTo({mD1}, false, output);
  auto lines = linesOf(output);
  std::erase_if(lines, [](const auto& line) { return line == "INFO: copied 0 of 0 bytes"; });
  EXPECT_EQ(lines, (std::vector<std::string>{"hash SHA1:" + toolSHA1OfFile(mSource),
                                             "hash MD5:" + toolMD5OfFile(mSource)}));
}

TEST_F(RVXCopyOperationThreadedTest, QuietCopyPrintsNothing) {
  writeFile(mSource, "movie");
  EXPECT_EQ(outputOf([&] { copyTo({mD1}); }), "");
}

TEST_F(RVXCopyOperationThreadedTest, SkippedVerificationGivesNoDigestAndPrintsNone) {
  writeFile(mSource, patternBytes(3 * kMebibyte));
  std::string output;
  const auto operation = verboseCopyTo({mD1}, true, output);
  expectDone(*operation);
  EXPECT_FALSE(operation->hash().has_value());
  EXPECT_EQ(output.find("hash"), std::string::npos);
  EXPECT_TRUE(readFile(mD1 + "/copy") == patternBytes(3 * kMebibyte));
}

TEST_F(RVXCopyOperationThreadedTest, RunningTotalsAreTheCallersToAdvance) {
  writeFile(mSource, "movie");
  const auto operation = operationTo({mD1});
  operation->setSizeOfAllFilesProcessed(100);
  operation->setAllFilesSize(200);
  operation->main();
  EXPECT_EQ(operation->sizeOfAllFilesProcessed(), 100);
  EXPECT_EQ(operation->allFilesSize(), 200);
}

TEST_F(RVXCopyOperationThreadedTest, NoDestinationIsDigestedAllTheSame) {
  writeFile(mSource, patternBytes(5 * kMebibyte));
  const auto operation = copyTo({});
  expectDone(*operation);
  EXPECT_EQ(operation->hash(), toolSHA1OfFile(mSource));
}

TEST_F(RVXCopyOperationThreadedTest, ManyDestinations) {
  writeFile(mSource, patternBytes(4 * kMebibyte + 1));
  std::vector<std::string> folders;
  for (int i = 0; i < 12; ++i) folders.push_back(mFolder.folder(std::to_string(i)));
  expectDone(*copyTo(folders));
  for (const std::string& folder : folders) {
    EXPECT_TRUE(readFile(folder + "/copy") == patternBytes(4 * kMebibyte + 1)) << folder;
  }
}

TEST_F(RVXCopyOperationThreadedTest, MoreBlocksThanMayBeHeld) {
  constexpr size_t kSize = 23 * kMebibyte + 4097;
  writeFile(mSource, patternBytes(kSize));
  const auto operation = copyTo({mD1, mD2});
  EXPECT_EQ(operation->hash(), toolSHA1OfFile(mSource));
  EXPECT_TRUE(readFile(mD1 + "/copy") == patternBytes(kSize));
  EXPECT_TRUE(readFile(mD2 + "/copy") == patternBytes(kSize));
}

TEST_F(RVXCopyOperationThreadedTest, EverythingIsClosedAndReleasedWhenItReturns) {
  writeFile(mSource, "movie");
  const auto openFiles = [] { return entryCount("/proc/self/fd"); };
  const size_t before = openFiles();
  const auto operation = copyTo({mD1, mD2});
  EXPECT_EQ(openFiles(), before);
  EXPECT_TRUE(Probe::allThreadsFinished(*operation));
  EXPECT_EQ(Probe::bufferManager(*operation), nullptr);
}

TEST_F(RVXCopyOperationThreadedTest, NamesWithPercentAndOtherCharacters) {
  const std::string name = "%s%n \u00E4'\"\\\xFF.mov";
  mSource = mFolder.path(name);
  writeFile(mSource, "movie");
  const auto operation = Operation::initWithSourcePath(mSource, {mD1}, {name}, false, false);
  operation->main();
  EXPECT_EQ(readFile(mD1 + "/" + name), "movie");
}

TEST_F(RVXCopyOperationThreadedTest, EmptyFolderIsTheCurrentOne) {
  writeFile(mSource, "movie");
  const ChildEnd end = runInChild([&] {
    fs::current_path(mD1);
    copyTo({""});
  });
  EXPECT_EQ(end.output, "");
  EXPECT_EQ(end.status, kBodyReturned);
  EXPECT_EQ(readFile(mD1 + "/copy"), "movie");
}

TEST_F(RVXCopyOperationThreadedTest, MissingSourceIsError200) {
  const auto operation = copyTo({mD1});
  expectFailed(*operation, 200, "can't open source file");
  EXPECT_EQ(operation->fileSize(), 0);
  EXPECT_FALSE(exists(mD1 + "/copy"));
}

TEST_F(RVXCopyOperationThreadedTest, SourceWithoutAWriterIsError200) {
  ASSERT_EQ(::mkfifo(mSource.c_str(), 0600), 0);
  expectFailed(*copyTo({mD1}), 200, "can't open source file");
}

TEST_F(RVXCopyOperationThreadedTest, DestinationThatCantBeOpenedIsError201WithItsNumber) {
  writeFile(mSource, "movie");
  const auto operation = copyTo({mD1, mFolder.path("missing"), mD2});
  expectFailed(*operation, 201, "can't open destination file (#2)");
  EXPECT_EQ(readFile(mD1 + "/copy"), "");
  EXPECT_FALSE(exists(mD2 + "/copy"));
}

TEST_F(RVXCopyOperationThreadedTest, FolderAtTheDestinationIsError201) {
  writeFile(mSource, "movie");
  mFolder.folder("d1/copy");
  expectFailed(*copyTo({mD1}, true), 201, "can't open destination file (#1)");
}

TEST_F(RVXCopyOperationThreadedTest, FailedOpeningPrintsNothing) {
  writeFile(mSource, "movie");
  const auto operation = operationTo({mFolder.path("missing")});
  operation->setVerbose(true);
  EXPECT_EQ(outputOf([&] { operation->main(); }), "");
  EXPECT_TRUE(operation->isFailed());
}

TEST_F(RVXCopyOperationThreadedTest, FailedOpeningLeavesTheCacheCallOnDescriptor0Harmless) {
  writeFile(mSource, "movie");
  const int before = ::fcntl(STDIN_FILENO, F_GETFL);
  copyTo({mFolder.path("missing")});
  EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFL), before);
}

TEST_F(RVXCopyOperationThreadedTest, ExistingDestinationEndsWith107BeforeAnythingIsCopied) {
  writeFile(mSource, "movie");
  writeFile(mD2 + "/copy", "precious");
  const ChildEnd end = copyInChild({mD1, mD2, mFolder.path("missing")});
  EXPECT_EQ(end.status, 107);
  EXPECT_EQ(end.output, existsMessage(2, mD2 + "/copy"));
  EXPECT_EQ(readFile(mD1 + "/copy"), "");
  EXPECT_EQ(readFile(mD2 + "/copy"), "precious");
}

TEST_F(RVXCopyOperationThreadedTest, ExistingFolderAtTheDestinationEndsWith107) {
  writeFile(mSource, "movie");
  mFolder.folder("d1/copy");
  const ChildEnd end = copyInChild({mD1});
  EXPECT_EQ(end.status, 107);
  EXPECT_EQ(end.output, existsMessage(1, mD1 + "/copy"));
}

TEST_F(RVXCopyOperationThreadedTest, SameDestinationTwiceEndsWith107) {
  writeFile(mSource, "movie");
  const ChildEnd end = copyInChild({mD1, mD1});
  EXPECT_EQ(end.status, 107);
  EXPECT_EQ(end.output, existsMessage(2, mD1 + "/copy"));
}

TEST_F(RVXCopyOperationThreadedTest, PathOfAnExistingDestinationHasOneSlash) {
  writeFile(mSource, "movie");
  writeFile(mD1 + "/copy", "precious");
  EXPECT_EQ(copyInChild({mD1 + "/"}).output, existsMessage(1, mD1 + "/copy"));
}

TEST_F(RVXCopyOperationThreadedTest, MissingSourceIsFoundBeforeAnExistingDestination) {
  writeFile(mD1 + "/copy", "precious");
  expectFailed(*copyTo({mD1}), 200, "can't open source file");
}

TEST_F(RVXCopyOperationThreadedTest, ForceOverwriteTruncatesAndRewrites) {
  writeFile(mSource, "movie");
  writeFile(mD1 + "/copy", patternBytes(100000));
  expectDone(*copyTo({mD1}, true));
  EXPECT_EQ(readFile(mD1 + "/copy"), "movie");
}

TEST_F(RVXCopyOperationThreadedTest, DiscardingFolderNeverReportsAnExistingFile) {
  writeFile(mSource, patternBytes(5 * kMebibyte));
  const auto operation = copyTo({"/dev/null/", "/dev/null/"});
  expectDone(*operation);
  EXPECT_EQ(operation->hash(), toolSHA1OfFile(mSource));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(RVXCopyOperationThreadedTest, DiscardingFolderIsRecognisedExactly) {
  writeFile(mSource, "movie");
  for (const char* folder : {"/dev/null", "/dev/null//", "//dev/null/"}) {
    expectFailed(*copyTo({folder}), 201, "can't open destination file (#1)");
  }
}

TEST_F(RVXCopyOperationThreadedTest, FullDeviceEndsWith212) {
  writeFile(mSource, "movie");
  const ChildEnd end =
      runInChild([&] { Operation::initWithSourcePath(mSource, {"/dev"}, {"full"}, true, false)->main(); });
  EXPECT_EQ(end.status, 212);
  EXPECT_EQ(end.output,
            "ERROR: unexpected ENOSPC during write: No space left on device\n"
            "ERROR: failed writing to /dev\n");
}

TEST_F(RVXCopyOperationThreadedTest, FileSizeLimitEndsWith211AndNamesTheFolder) {
  writeFile(mSource, patternBytes(3 * kMebibyte));
  const ChildEnd end = runInChild([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{kMebibyte, kMebibyte};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    copyTo({mD1 + "/"});
  });
  EXPECT_EQ(end.status, 211);
  EXPECT_EQ(end.output,
            "ERROR: unexpected EFBIG during write: File too large\nERROR: failed writing to " + mD1 + "/\n");
}

TEST_F(RVXCopyOperationThreadedTest, SourceThatFailsTwiceEndsWith220) {
  const std::string folder = mFolder.folder("source");  // opens, and refuses every read
  const ChildEnd end = copyInChild({mD1});
  EXPECT_EQ(end.status, 220);
  const auto lines = linesOf(end.output);
  ASSERT_EQ(lines.size(), 3U) << end.output;
  EXPECT_EQ(lines[0],
            "ERROR: unexpected EISDIR during read: Is a directory of file: " + folder + " at position:0");
  EXPECT_TRUE(lines[1].starts_with("INFO: file exists:1 volumes: (")) << lines[1];
  EXPECT_EQ(lines[2], "ERROR: again unexpected EISDIR during read: Is a directory userInfo: {errno = 21}");
}

// Sources that are symbolic links.
class RVXCopyOperationThreadedLinkTest : public RVXCopyOperationThreadedTest {
 protected:
  static constexpr const char* kTarget = "../else where/\u00E4.mov";
  RVXCopyOperationThreadedLinkTest() { makeSourceALinkTo(kTarget); }
};

TEST_F(RVXCopyOperationThreadedLinkTest, LinkIsCopiedAsALink) {
  const auto operation = copyTo({mD1, mD2 + "/"});
  expectDone(*operation);
  EXPECT_EQ(fs::read_symlink(mD1 + "/copy"), kTarget);
  EXPECT_EQ(fs::read_symlink(mD2 + "/copy"), kTarget);
  EXPECT_EQ(operation->fileSize(), 0);
}

TEST_F(RVXCopyOperationThreadedLinkTest, DigestIsThatOfTheTargetText) {
  const auto operation = copyTo({mD1});
  EXPECT_EQ(operation->hash(), toolSHA1OfText(kTarget));
  operation->setAlgorithm(HashAlgorithm::MD5);
  EXPECT_EQ(operation->hash(), toolMD5OfText(kTarget));
}

TEST_F(RVXCopyOperationThreadedLinkTest, OtherAlgorithmsGiveNoDigest) {
  const auto operation = copyTo({mD1});
  operation->setAlgorithm(static_cast<HashAlgorithm>(2));
  EXPECT_FALSE(operation->hash().has_value());
}

TEST_F(RVXCopyOperationThreadedLinkTest, LinkToAFileIsNotFollowed) {
  fs::remove(mSource);
  makeSourceALinkTo(writeFile(mFolder.path("movie"), "movie"));
  const auto operation = copyTo({mD1});
  EXPECT_EQ(operation->hash(), toolSHA1OfText(mFolder.path("movie")));
  EXPECT_EQ(fs::read_symlink(mD1 + "/copy"), mFolder.path("movie"));
  EXPECT_EQ(readFile(mFolder.path("movie")), "movie");
}

TEST_F(RVXCopyOperationThreadedLinkTest, LongTarget) {
  fs::remove(mSource);
  const std::string target(4095, 't');
  makeSourceALinkTo(target);
  const auto operation = copyTo({mD1});
  EXPECT_EQ(fs::read_symlink(mD1 + "/copy"), target);
  EXPECT_EQ(operation->hash(), toolSHA1OfText(target));
}

TEST_F(RVXCopyOperationThreadedLinkTest, VerbosePrintsBothDigests) {
  std::string output;
  verboseCopyTo({mD1}, false, output);
  EXPECT_EQ(output, "hash SHA1:" + toolSHA1OfText(kTarget) + "\nhash MD5:" + toolMD5OfText(kTarget) + "\n");
}

TEST_F(RVXCopyOperationThreadedLinkTest, SkippedVerificationStillPrintsTheHashLines) {
  std::string output;
  const auto operation = verboseCopyTo({mD1}, true, output);
  EXPECT_EQ(output, "hash SHA1:(null)\nhash MD5:(null)\n");
  EXPECT_FALSE(operation->hash().has_value());
  EXPECT_EQ(fs::read_symlink(mD1 + "/copy"), kTarget);
}

TEST_F(RVXCopyOperationThreadedLinkTest, QuietCopyPrintsNothing) {
  EXPECT_EQ(outputOf([&] { copyTo({mD1}); }), "");
}

TEST_F(RVXCopyOperationThreadedLinkTest, DiscardingFolderIsSkipped) {
  const auto operation = copyTo({"/dev/null/", mD1});
  expectDone(*operation);
  EXPECT_EQ(fs::read_symlink(mD1 + "/copy"), kTarget);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(RVXCopyOperationThreadedLinkTest, ExistingDestinationEndsWith107) {
  writeFile(mD2 + "/copy", "precious");
  const ChildEnd end = copyInChild({mD1, mD2});
  EXPECT_EQ(end.status, 107);
  EXPECT_EQ(end.output, existsMessage(2, mD2 + "/copy"));
  EXPECT_EQ(fs::read_symlink(mD1 + "/copy"), kTarget);
  EXPECT_EQ(readFile(mD2 + "/copy"), "precious");
}

TEST_F(RVXCopyOperationThreadedLinkTest, DiscardedDestinationsAreCountedInTheNumber) {
  writeFile(mD2 + "/copy", "precious");
  EXPECT_EQ(copyInChild({"/dev/null/", mD2}).output, existsMessage(2, mD2 + "/copy"));
}

TEST_F(RVXCopyOperationThreadedLinkTest, ExistingFileFailsWith201AlthoughForced) {
  writeFile(mD1 + "/copy", "precious");
  const auto operation = copyTo({mD1, mD2}, true);
  expectFailed(*operation, 201, "can't open destination file (" + mD1 + "/copy)");
  EXPECT_EQ(readFile(mD1 + "/copy"), "precious");
  EXPECT_FALSE(exists(mD2 + "/copy"));
}

TEST_F(RVXCopyOperationThreadedLinkTest, ExistingLinkToNothingFailsWith201) {
  fs::create_symlink("nothing", mD1 + "/copy");
  expectFailed(*copyTo({mD1}), 201, "can't open destination file (" + mD1 + "/copy)");
  EXPECT_EQ(fs::read_symlink(mD1 + "/copy"), "nothing");
}

TEST_F(RVXCopyOperationThreadedLinkTest, MissingFolderFailsWith201AndThePath) {
  const std::string folder = mFolder.path("missing");
  expectFailed(*copyTo({mD1, folder}), 201, "can't open destination file (" + folder + "/copy)");
}

// Sizes around every boundary of blocks, pages and disk blocks, from and to both kinds of file system.
class RVXCopyOperationThreadedSizeTest : public testing::TestWithParam<size_t> {
 protected:
  static void expectCopied(const std::string& parent) {
    const TemporaryFolder source(parent);
    const TemporaryFolder disk;
    const TemporaryFolder memory("/dev/shm");
    const std::string bytes = patternBytes(GetParam());
    const std::string path = writeFile(source.path("source"), bytes);
    const auto operation =
        Operation::initWithSourcePath(path, {disk.path(), memory.path()}, {"copy", "copy"}, false, false);
    operation->main();
    EXPECT_EQ(operation->fileSize(), static_cast<int64_t>(GetParam()));
    EXPECT_EQ(operation->hash(), toolSHA1OfFile(path));
    EXPECT_TRUE(readFile(disk.path("copy")) == bytes);
    EXPECT_TRUE(readFile(memory.path("copy")) == bytes);
  }
};

TEST_P(RVXCopyOperationThreadedSizeTest, CopyIsTheSource) {
  const Deadline deadline;
  for (const std::string& parent : parentsOfTestFolders()) expectCopied(parent);
}

INSTANTIATE_TEST_SUITE_P(Bytes, RVXCopyOperationThreadedSizeTest,
                         testing::Values(1, 511, 512, 513, 4095, 4096, 4097, 2 * kMebibyte - 4096,
                                         2 * kMebibyte - 1, 2 * kMebibyte, 2 * kMebibyte + 1,
                                         2 * kMebibyte + 4097, 4 * kMebibyte - 1, 4 * kMebibyte,
                                         4 * kMebibyte + 1, 6 * kMebibyte + 511, 8 * kMebibyte),
                         [](const auto& test) { return std::to_string(test.param); });

// The reader's blocks, with the buffer manager looked at directly.
class RVXCopyOperationThreadedBlockTest : public RVXCopyOperationThreadedTest {
 protected:
  std::vector<size_t> lengthsOfBlocks(size_t size) {
    writeFile(mSource, patternBytes(size));
    const auto operation = operationTo({});
    auto& manager = Probe::prepare(*operation, 0);
    Probe::readThread(*operation);
    std::vector<size_t> lengths;
    while (const RVXBlock* const block = manager.nextBufferForDigest()) {
      lengths.push_back(block->length());
      manager.finishedDigest();
    }
    return lengths;
  }
};

TEST_F(RVXCopyOperationThreadedBlockTest, EmptySourceIsOneBlockOfNothing) {
  EXPECT_EQ(lengthsOfBlocks(0), std::vector<size_t>{0});
}

TEST_F(RVXCopyOperationThreadedBlockTest, FourMebibytesAreTwoBlocksAndOneOfNothing) {
  EXPECT_EQ(lengthsOfBlocks(4194304), (std::vector<size_t>{2097152, 2097152, 0}));
}

TEST_F(RVXCopyOperationThreadedBlockTest, ShortBlockIsTheLast) {
  EXPECT_EQ(lengthsOfBlocks(2097153), (std::vector<size_t>{2097152, 1}));
  EXPECT_EQ(lengthsOfBlocks(2097151), std::vector<size_t>{2097151});
}

// What every thread does when an exit is forced, one at a time.
class RVXCopyOperationThreadedForcedExitTest : public RVXCopyOperationThreadedTest {
 protected:
  RVXCopyOperationThreadedForcedExitTest() {
    writeFile(mSource, "movie");
    mOperation->setVerbose(true);
    Probe::forceExit(*mOperation);
  }
  RVXCopyBufferManager& handInABlock() const {
    auto& manager = Probe::prepare(*mOperation, 1);
    manager.addReadBuffer(RVXBlock::withCapacity(Operation::kBlockSize));
    return manager;
  }

  std::unique_ptr<Operation> mOperation = operationTo({mD1});
};

TEST_F(RVXCopyOperationThreadedForcedExitTest, ReaderReadsNothing) {
  auto& manager = Probe::prepare(*mOperation, 1);
  EXPECT_EQ(outputOf([&] { Probe::readThread(*mOperation); }), "INFO: forced exit of readThread\n");
  EXPECT_EQ(RVXCopyBufferManagerProbe::heldBuffers(manager), 0U);
}

TEST_F(RVXCopyOperationThreadedForcedExitTest, DigestThreadDigestsNothing) {
  handInABlock();
  EXPECT_EQ(outputOf([&] { Probe::digestThread(*mOperation); }), "INFO: forced exit of digestThread\n");
  EXPECT_FALSE(mOperation->hash().has_value());
}

TEST_F(RVXCopyOperationThreadedForcedExitTest, FakeDigestThreadHasTheSameMessage) {
  handInABlock();
  EXPECT_EQ(outputOf([&] { Probe::fakeDigestThread(*mOperation); }), "INFO: forced exit of digestThread\n");
}

TEST_F(RVXCopyOperationThreadedForcedExitTest, WriterWritesNothing) {
  handInABlock();
  const std::string file = mD1 + "/copy";
  EXPECT_EQ(outputOf([&] { Probe::writeThread(*mOperation, file); }), "INFO: forced exit of writeThread\n");
  EXPECT_EQ(readFile(file), "");
}

TEST_F(RVXCopyOperationThreadedForcedExitTest, MessageComesAlsoAtTheEndOfTheData) {
  Probe::prepare(*mOperation, 1).setFinishedReading();
  EXPECT_EQ(outputOf([&] { Probe::digestThread(*mOperation); }), "INFO: forced exit of digestThread\n");
}

// A destination that takes nothing before the test reads it: a FIFO. The copy can thus be looked at midway.
class RVXCopyOperationThreadedMidwayTest : public RVXCopyOperationThreadedTest {
 protected:
  RVXCopyOperationThreadedMidwayTest() {
    ::mkfifo((mD1 + "/copy").c_str(), 0600);
    mReadEnd = ::open((mD1 + "/copy").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  }
  ~RVXCopyOperationThreadedMidwayTest() override { ::close(mReadEnd); }

  // Starts the copy of a source of that size and returns when its writer has begun to write.
  void startCopy(size_t size) {
    writeFile(mSource, patternBytes(size));
    mOperation = operationTo({mD1}, true);
    mOperation->setVerbose(true);
    mOperation->setAllFilesSize(1000000);
    mOperation->setSizeOfAllFilesProcessed(500000);
    mCopy = std::jthread([this] { mOperation->main(); });
    mIsWriting = eventually([this] { return drain() > 0; });
  }

  // Reads what the FIFO holds now, at most `most` bytes in all.
  size_t drain(size_t most = 4096) {
    std::array<char, 4096> bytes;
    const ssize_t length = ::read(mReadEnd, bytes.data(), std::min(most, bytes.size()));
    if (length > 0) mDrained.append(bytes.data(), static_cast<size_t>(length));
    return length > 0 ? static_cast<size_t>(length) : 0;
  }

  bool drainUpTo(size_t length) {
    return eventually([&] {
      while (mDrained.size() < length && drain(length - mDrained.size()) > 0) continue;
      return mDrained.size() == length;
    });
  }

  int mReadEnd = -1;
  bool mIsWriting = false;
  std::string mDrained;
  std::unique_ptr<Operation> mOperation;
  std::jthread mCopy;
};

TEST_F(RVXCopyOperationThreadedMidwayTest, FirstStatusLineComesBeforeAnyBlockIsReleased) {
  constexpr size_t kSize = kMebibyte;
  bool isStatusPrinted = false;
  bool isDrained = false;
  const std::string output = [&] {
    const OutputCapture capture;
    startCopy(kSize);
    isStatusPrinted = eventually([&] { return capture.text().find("INFO: copied") != std::string::npos; });
    isDrained = drainUpTo(kSize);
    mCopy.join();
    return capture.text();
  }();
  EXPECT_TRUE(mIsWriting && isStatusPrinted && isDrained);
  EXPECT_TRUE(mDrained == patternBytes(kSize));
  auto lines = linesOf(output);
  const auto statusLines =
      std::erase_if(lines, [](const auto& line) { return line == "INFO: copied 500000 of 1000000 bytes"; });
  EXPECT_GE(statusLines, 1U);
  EXPECT_EQ(lines, (std::vector<std::string>{"hash SHA1:" + toolSHA1OfFile(mSource),
                                             "hash MD5:" + toolMD5OfFile(mSource)}));
}

TEST_F(RVXCopyOperationThreadedMidwayTest, SlowWriterStopsTheReaderAtNineBlocks) {
  constexpr size_t kBlock = 2 * kMebibyte;
  constexpr size_t kSize = 11 * kBlock;
  size_t held = 0;
  outputOf([&] {
    startCopy(kSize);
    auto& manager = *Probe::bufferManager(*mOperation);
    eventually([&] { return !manager.willAcceptReadBuffer(); });
    // Time enough for a reader that did not stop to read the rest.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    held = RVXCopyBufferManagerProbe::heldBuffers(manager);
    drainUpTo(kSize);
    mCopy.join();
  });
  EXPECT_EQ(held, 9U);
  EXPECT_TRUE(mDrained == patternBytes(kSize));
  expectDone(*mOperation);
}

TEST_F(RVXCopyOperationThreadedMidwayTest, ForcedExitEndsAllThreads) {
  constexpr size_t kBlock = 2 * kMebibyte;
  const std::string output = outputOf([&] {
    startCopy(11 * kBlock);
    auto& manager = *Probe::bufferManager(*mOperation);
    eventually([&] { return !manager.willAcceptReadBuffer(); });
    Probe::forceExit(*mOperation);
    RVXCopyBufferManagerProbe::abort(manager);  // wakes the digest thread, which waits for a tenth block
    drainUpTo(kBlock);                          // lets the writer end its block
    mCopy.join();
  });
  auto lines = linesOf(output);
  std::erase(lines, "INFO: copied 500000 of 1000000 bytes");
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ(lines,
            (std::vector<std::string>{"INFO: forced exit of digestThread", "INFO: forced exit of readThread",
                                      "INFO: forced exit of writeThread"}));
}

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <thread>

#include "checksum/RVXGenerateChecksumOperation.h"
#include "platform/files/RVXFileSystem.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Text.h"
#include "tests/support/Tools.h"
#include "tests/support/Waiting.h"

namespace {

namespace fs = std::filesystem;
using Operation = RVXGenerateChecksumOperation;

constexpr size_t kMebibyte = size_t{1024} * 1024;
constexpr auto kOtherAlgorithm = static_cast<HashAlgorithm>(2);

std::optional<std::string> checksumOf(const std::string& path, HashAlgorithm algorithm) {
  return Operation::initWithPath(path, algorithm, false)->checksum();
}

bool refusesToExamine = false;

class RVXGenerateChecksumOperationTest : public testing::Test {
 protected:
  // The checksum of a file or link by both algorithms must be the tools' digest of those bytes.
  static void expectDigestsOf(const std::string& path, const std::string& bytes) {
    EXPECT_EQ(checksumOf(path, HashAlgorithm::SHA1), toolSHA1OfText(bytes));
    EXPECT_EQ(checksumOf(path, HashAlgorithm::MD5), toolMD5OfText(bytes));
  }

  const Deadline mDeadline;
  TemporaryFolder mFolder;
  std::string mFile = mFolder.path("clip.mov");
};

}  // namespace

// In the place of the C library's, so that a file can be opened that can't be examined.
extern "C" int lstat(const char* path, struct stat* status) noexcept {
  if (!refusesToExamine) return ::fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
  errno = EIO;
  return -1;
}

TEST_F(RVXGenerateChecksumOperationTest, InitLeavesEverythingAtZero) {
  const auto operation = Operation::init();
  EXPECT_FALSE(operation->verbose());
  EXPECT_EQ(operation->path(), "");
  EXPECT_EQ(operation->fileSize(), 0);
  EXPECT_EQ(operation->allFilesSize(), 0);
  EXPECT_EQ(operation->sizeOfAllFilesProcessed(), 0);
  EXPECT_FALSE(operation->error().has_value());
}

TEST_F(RVXGenerateChecksumOperationTest, PropertiesKeepWhatTheyAreGiven) {
  const auto operation = Operation::initWithPath("/a", HashAlgorithm::MD5, true);
  EXPECT_EQ(operation->path(), "/a");
  EXPECT_TRUE(operation->verbose());
  operation->setPath("/b");
  operation->setVerbose(false);
  operation->setFileSize(int64_t{1} << 40);
  operation->setAllFilesSize(int64_t{2} << 40);
  operation->setSizeOfAllFilesProcessed(int64_t{3} << 40);
  EXPECT_EQ(operation->path(), "/b");
  EXPECT_FALSE(operation->verbose());
  EXPECT_EQ(operation->fileSize(), int64_t{1} << 40);
  EXPECT_EQ(operation->allFilesSize(), int64_t{2} << 40);
  EXPECT_EQ(operation->sizeOfAllFilesProcessed(), int64_t{3} << 40);
}

TEST_F(RVXGenerateChecksumOperationTest, DigestsAFile) {
  writeFile(mFile, "abc");  // the vectors of RFC 1321 and FIPS 180
  EXPECT_EQ(checksumOf(mFile, HashAlgorithm::MD5), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(checksumOf(mFile, HashAlgorithm::SHA1), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST_F(RVXGenerateChecksumOperationTest, EmptyFileHasTheDigestOfNothing) {
  writeFile(mFile, "");
  EXPECT_EQ(checksumOf(mFile, HashAlgorithm::MD5), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(checksumOf(mFile, HashAlgorithm::SHA1), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}

TEST_F(RVXGenerateChecksumOperationTest, FileSizeIsSet) {
  writeFile(mFile, patternBytes(4321));
  const auto operation = Operation::initWithPath(mFile, HashAlgorithm::SHA1, false);
  operation->checksum();
  EXPECT_EQ(operation->fileSize(), 4321);
  EXPECT_FALSE(operation->error().has_value());
}

TEST_F(RVXGenerateChecksumOperationTest, FileSizeOfAFileThatCantBeExaminedIsZero) {
  writeFile(mFile, "abc");
  const auto operation = Operation::initWithPath(mFile, HashAlgorithm::MD5, false);
  operation->setFileSize(4321);
  refusesToExamine = true;
  const auto digest = operation->checksum();
  refusesToExamine = false;
  EXPECT_EQ(digest, "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(operation->fileSize(), 0);
}

TEST_F(RVXGenerateChecksumOperationTest, QuietChecksumPrintsNothing) {
  writeFile(mFile, patternBytes(5 * kMebibyte));
  EXPECT_EQ(outputOf([&] { checksumOf(mFile, HashAlgorithm::SHA1); }), "");
}

TEST_F(RVXGenerateChecksumOperationTest, EmptyFileVerbosePrintsOnlyTheFinalLineWithZeroBytes) {
  writeFile(mFile, "");
  EXPECT_EQ(outputOf([&] { Operation::initWithPath(mFile, HashAlgorithm::SHA1, true)->checksum(); }),
            "INFO: verified 0 of 0 bytes of path " + mFolder.path() + "\n");
}

TEST_F(RVXGenerateChecksumOperationTest, FinalLineCountsTheFilesBefore) {
  writeFile(mFile, patternBytes(100));
  const auto operation = Operation::initWithPath(mFile, HashAlgorithm::SHA1, true);
  operation->setSizeOfAllFilesProcessed(5'000'000'000);
  operation->setAllFilesSize(6'000'000'000);
  EXPECT_EQ(outputOf([&] { operation->checksum(); }),
            "INFO: verified 5000000100 of 6000000000 bytes of path " + mFolder.path() + "\n");
  EXPECT_EQ(operation->sizeOfAllFilesProcessed(), 5'000'000'000);
  EXPECT_EQ(operation->allFilesSize(), 6'000'000'000);
}

TEST_F(RVXGenerateChecksumOperationTest, LastLineTellsAllBytesOfSeveralChunks) {
  writeFile(mFile, patternBytes(9 * kMebibyte));
  const auto operation = Operation::initWithPath(mFile, HashAlgorithm::SHA1, true);
  operation->setAllFilesSize(9437184);
  const auto lines = linesOf(outputOf([&] { operation->checksum(); }));
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "INFO: verified 9437184 of 9437184 bytes of path " + mFolder.path());
}

TEST_F(RVXGenerateChecksumOperationTest, FolderOfARelativePathIsEmpty) {
  writeFile(mFile, "abc");
  const ChildEnd end = runInChild([&] {
    fs::current_path(mFolder.path());
    Operation::initWithPath("clip.mov", HashAlgorithm::SHA1, true)->checksum();
  });
  EXPECT_EQ(end.output, "INFO: verified 3 of 0 bytes of path \n");
}

TEST_F(RVXGenerateChecksumOperationTest, PercentInTheFolderIsPrintedAsItIs) {
  const std::string folder = mFolder.folder("%s%n%d");
  writeFile(folder + "/clip.mov", "abc");
  EXPECT_EQ(
      outputOf([&] { Operation::initWithPath(folder + "/clip.mov", HashAlgorithm::SHA1, true)->checksum(); }),
      "INFO: verified 3 of 0 bytes of path " + folder + "\n");
}

TEST_F(RVXGenerateChecksumOperationTest, OtherAlgorithmReadsTheFileWholeAndGivesAnEmptyText) {
  writeFile(mFile, patternBytes(5 * kMebibyte));
  const auto operation = Operation::initWithPath(mFile, kOtherAlgorithm, true);
  std::optional<std::string> digest;
  const auto lines = linesOf(outputOf([&] { digest = operation->checksum(); }));
  EXPECT_EQ(digest, "");
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "INFO: verified 5242880 of 0 bytes of path " + mFolder.path());
}

TEST_F(RVXGenerateChecksumOperationTest, MissingFileIsAnErrorAndPrintsNothing) {
  const auto operation = Operation::initWithPath(mFile, HashAlgorithm::SHA1, true);
  std::optional<std::string> digest = "none";
  EXPECT_EQ(outputOf([&] { digest = operation->checksum(); }), "");
  EXPECT_FALSE(digest.has_value());
  ASSERT_TRUE(operation->error().has_value());
  EXPECT_EQ(operation->error()->domain, "rvxverify");
  EXPECT_EQ(operation->error()->code, 200);
  EXPECT_EQ(operation->error()->description, "can't open source file");
  EXPECT_EQ(operation->fileSize(), 0);
}

TEST_F(RVXGenerateChecksumOperationTest, FIFOWithoutAWriterIsAnErrorAndNotWaitedFor) {
  ASSERT_EQ(::mkfifo(mFile.c_str(), 0600), 0);
  const auto operation = Operation::initWithPath(mFile, HashAlgorithm::SHA1, false);
  EXPECT_FALSE(operation->checksum().has_value());
  EXPECT_TRUE(operation->error().has_value());
}

TEST_F(RVXGenerateChecksumOperationTest, LinkHasTheDigestOfItsTargetText) {
  const std::string target = writeFile(mFolder.path("movie"), patternBytes(1000));
  fs::create_symlink(target, mFile);
  expectDigestsOf(mFile, target);
}

TEST_F(RVXGenerateChecksumOperationTest, LinkToNothingHasTheDigestOfItsTargetText) {
  fs::create_symlink("../n\u00F6 where", mFile);
  expectDigestsOf(mFile, "../n\u00F6 where");
}

TEST_F(RVXGenerateChecksumOperationTest, LinkSetsNoFileSizeAndPrintsNothing) {
  fs::create_symlink("nowhere", mFile);
  const auto operation = Operation::initWithPath(mFile, HashAlgorithm::SHA1, true);
  EXPECT_EQ(outputOf([&] { operation->checksum(); }), "");
  EXPECT_EQ(operation->fileSize(), 0);
  EXPECT_FALSE(operation->error().has_value());
}

TEST_F(RVXGenerateChecksumOperationTest, OtherAlgorithmGivesALinkNoDigest) {
  fs::create_symlink("nowhere", mFile);
  EXPECT_FALSE(checksumOf(mFile, kOtherAlgorithm).has_value());
}

TEST_F(RVXGenerateChecksumOperationTest, LinkInTheMiddleOfThePathIsFollowed) {
  mFolder.folder("real");
  writeFile(mFolder.path("real/clip.mov"), "abc");
  fs::create_directory_symlink("real", mFolder.path("link"));
  expectDigestsOf(mFolder.path("link/clip.mov"), "abc");
}

TEST_F(RVXGenerateChecksumOperationTest, ChunkThatFailsTwiceEndsWith109) {
  const std::string folder = mFolder.folder("folder");  // opens, and refuses every read
  const ChildEnd end = runInChild([&] { checksumOf(folder, HashAlgorithm::SHA1); });
  EXPECT_EQ(end.status, 109);
  EXPECT_EQ(end.output,
            "ERROR: unexpected EISDIR during read: Is a directory at position:0\n"
            "ERROR: failed reading from " +
                folder +
                "\n"
                "ERROR: again unexpected EISDIR during read: Is a directory\n"
                "ERROR: again failed reading from " +
                folder + "\n");
}

TEST_F(RVXGenerateChecksumOperationTest, PathOfAFailedReadIsPrintedAsASCIIOnly) {
  const std::string folder = mFolder.folder("f\u00F6lder");
  EXPECT_EQ(runInChild([&] { checksumOf(folder, HashAlgorithm::SHA1); }).output,
            "ERROR: unexpected EISDIR during read: Is a directory at position:0\n"
            "ERROR: failed reading from (null)\n"
            "ERROR: again unexpected EISDIR during read: Is a directory\n"
            "ERROR: again failed reading from (null)\n");
}

TEST_F(RVXGenerateChecksumOperationTest, FileStaysOpenAsLongAsTheOperationLives) {
  writeFile(mFile, "abc");
  const size_t before = entryCount("/proc/self/fd");
  auto operation = Operation::initWithPath(mFile, HashAlgorithm::SHA1, false);
  operation->checksum();
  EXPECT_EQ(entryCount("/proc/self/fd"), before + 1);
  EXPECT_EQ(operation->identity(), attributesOfItem(mFile).value().identity);
  operation.reset();
  EXPECT_EQ(entryCount("/proc/self/fd"), before);
}

TEST_F(RVXGenerateChecksumOperationTest, SeveralRunAtTheSameTime) {
  constexpr size_t kOperations = 4;
  std::array<std::string, kOperations> paths;
  std::array<std::optional<std::string>, kOperations> digests;
  for (size_t i = 0; i < kOperations; ++i) {
    paths[i] = writeFile(mFolder.path(std::to_string(i)), patternBytes(9 * kMebibyte + i, i + 1));
  }
  {
    std::vector<std::jthread> threads;
    for (size_t i = 0; i < kOperations; ++i) {
      threads.emplace_back([&, i] { digests[i] = checksumOf(paths[i], HashAlgorithm::MD5); });
    }
  }
  for (size_t i = 0; i < kOperations; ++i) EXPECT_EQ(digests[i], toolMD5OfFile(paths[i]));
}

// Sizes around every boundary of chunks, pages and disk blocks.
class RVXGenerateChecksumOperationSizeTest : public testing::TestWithParam<size_t> {};

TEST_P(RVXGenerateChecksumOperationSizeTest, DigestIsTheTools) {
  const Deadline deadline;
  for (const std::string& parent : parentsOfTestFolders()) {
    const TemporaryFolder folder(parent);
    const std::string path = writeFile(folder.path("clip.mov"), patternBytes(GetParam()));
    EXPECT_EQ(checksumOf(path, HashAlgorithm::SHA1), toolSHA1OfFile(path)) << path;
    EXPECT_EQ(checksumOf(path, HashAlgorithm::MD5), toolMD5OfFile(path)) << path;
  }
}

INSTANTIATE_TEST_SUITE_P(Bytes, RVXGenerateChecksumOperationSizeTest,
                         testing::Values(1, 511, 512, 513, 4095, 4096, 4097, 2 * kMebibyte,
                                         4 * kMebibyte - 4096, 4 * kMebibyte - 1, 4 * kMebibyte,
                                         4 * kMebibyte + 1, 4 * kMebibyte + 4097, 8 * kMebibyte - 1,
                                         8 * kMebibyte, 12 * kMebibyte + 511),
                         [](const auto& test) { return std::to_string(test.param); });

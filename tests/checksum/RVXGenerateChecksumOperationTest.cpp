#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "checksum/RVXGenerateChecksumOperation.h"
#include "platform/files/FileSystem.h"
#include "tests/support/Files.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Tools.h"
#include "tests/support/Waiting.h"

// Digests of all sizes, repeated reads and what is printed are shown by the process tests.

namespace {

namespace fs = std::filesystem;
using Operation = RVXGenerateChecksumOperation;

constexpr auto kOtherAlgorithm = static_cast<HashAlgorithm>(2);
const std::string kMD5 = "900150983cd24fb0d6963f7d28e17f72";  // of "abc": RFC 1321

bool refusesToExamine = false;

class RVXGenerateChecksumOperationTest : public testing::Test {
 protected:
  static std::optional<std::string> checksumOf(const std::string& path, HashAlgorithm algorithm) {
    return Operation::initWithPath(path, algorithm, false)->checksum();
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

TEST_F(RVXGenerateChecksumOperationTest, PropertiesKeepWhatTheyAreGiven) {
  const auto operation = Operation::init();
  EXPECT_FALSE(operation->verbose() || operation->error().has_value());
  EXPECT_EQ(operation->fileSize() + operation->allFilesSize() + operation->sizeOfAllFilesProcessed(), 0);
  operation->setPath("/b");
  operation->setVerbose(true);
  operation->setFileSize(int64_t{1} << 40);
  operation->setAllFilesSize(int64_t{2} << 40);
  operation->setSizeOfAllFilesProcessed(int64_t{3} << 40);
  EXPECT_EQ(operation->path(), "/b");
  EXPECT_TRUE(operation->verbose());
  EXPECT_EQ(operation->fileSize(), int64_t{1} << 40);
  EXPECT_EQ(operation->allFilesSize(), int64_t{2} << 40);
  EXPECT_EQ(operation->sizeOfAllFilesProcessed(), int64_t{3} << 40);
}

TEST_F(RVXGenerateChecksumOperationTest, FileStaysOpenAsLongAsTheOperationLives) {
  writeFile(mFile, "abc");
  const size_t before = entryCount("/proc/self/fd");
  auto operation = Operation::initWithPath(mFile, HashAlgorithm::MD5, false);
  EXPECT_EQ(operation->checksum(), kMD5);
  EXPECT_EQ(operation->fileSize(), 3);
  EXPECT_EQ(entryCount("/proc/self/fd"), before + 1);
  EXPECT_EQ(operation->identity(), attributesOfItem(mFile).value().identity);
  operation.reset();
  EXPECT_EQ(entryCount("/proc/self/fd"), before);
}

TEST_F(RVXGenerateChecksumOperationTest, FileSizeOfAFileThatCantBeExaminedIsZero) {
  writeFile(mFile, "abc");
  const auto operation = Operation::initWithPath(mFile, HashAlgorithm::MD5, false);
  operation->setFileSize(4321);
  refusesToExamine = true;
  const auto digest = operation->checksum();
  refusesToExamine = false;
  EXPECT_EQ(digest, kMD5);
  EXPECT_EQ(operation->fileSize(), 0);
}

TEST_F(RVXGenerateChecksumOperationTest, OtherAlgorithmReadsTheFileWholeAndGivesAnEmptyText) {
  writeFile(mFile, patternBytes(5'242'880));
  const auto operation = Operation::initWithPath(mFile, kOtherAlgorithm, true);
  std::optional<std::string> digest;
  EXPECT_TRUE(outputOf([&] {
                digest = operation->checksum();
              }).ends_with("INFO: verified 5242880 of 0 bytes of path " + mFolder.path() + "\n"));
  EXPECT_EQ(digest, "");
}

TEST_F(RVXGenerateChecksumOperationTest, MissingFileOrFIFOWithoutAWriterIsAnErrorAndPrintsNothing) {
  for (const bool isFIFO : {false, true}) {
    if (isFIFO) {
      ASSERT_EQ(::mkfifo(mFile.c_str(), 0600), 0);
    }
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
}

TEST_F(RVXGenerateChecksumOperationTest, LinkHasTheDigestOfItsTargetTextAndNoSize) {
  fs::create_symlink("../n\u00F6 where", mFile);
  const auto operation = Operation::initWithPath(mFile, HashAlgorithm::MD5, true);
  std::optional<std::string> digest;
  EXPECT_EQ(outputOf([&] { digest = operation->checksum(); }), "");
  EXPECT_EQ(digest, toolMD5OfText("../n\u00F6 where"));
  EXPECT_EQ(operation->fileSize(), 0);
  EXPECT_FALSE(operation->error().has_value());
  EXPECT_EQ(checksumOf(mFile, HashAlgorithm::SHA1), toolSHA1OfText("../n\u00F6 where"));
  EXPECT_FALSE(checksumOf(mFile, kOtherAlgorithm).has_value());
}

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/files/RVXFileSystem.h"
#include "platform/files/RVXStorageReader.h"
#include "tests/platform/files/ResidentPages.h"
#include "tests/support/Files.h"
#include "tests/support/Waiting.h"

namespace {

constexpr size_t kMebibyte = size_t{1024} * 1024;

struct ReadFile {
  std::string bytes;
  std::vector<size_t> lengths;  // of the blocks
};

std::string textOf(const RVXBlock& block) {
  return {reinterpret_cast<const char*>(block.bytes().data()), block.length()};
}

// Reads block by block up to the first that is not full.
ReadFile readRest(RVXStorageReader& reader, size_t capacity) {
  ReadFile result;
  RVXBlock block = RVXBlock::withCapacity(capacity);
  do {
    const auto failure = reader.readUpToCapacity(block);
    EXPECT_FALSE(failure.has_value());
    if (failure) return result;
    result.bytes += textOf(block);
    result.lengths.push_back(block.length());
  } while (block.length() == capacity);
  return result;
}

RVXStorageReader openBypassing(const std::string& path) {
  auto reader = RVXStorageReader::openForReading(path).value();
  reader.bypassCache();
  reader.readAhead();
  return reader;
}

class RVXStorageReaderTest : public testing::Test {
 protected:
  const Deadline mDeadline;
  TemporaryFolder mFolder;
  std::string mFile = mFolder.path("file");
};

}  // namespace

TEST_F(RVXStorageReaderTest, MissingFileIsNotOpened) {
  EXPECT_FALSE(RVXStorageReader::openForReading(mFile).has_value());
}

TEST_F(RVXStorageReaderTest, FIFOIsRefusedAndNotWaitedFor) {
  ASSERT_EQ(::mkfifo(mFile.c_str(), 0600), 0);
  EXPECT_FALSE(RVXStorageReader::openForReading(mFile).has_value());
}

TEST_F(RVXStorageReaderTest, FolderOpensAndFailsToBeRead) {
  auto reader = openBypassing(mFolder.path());
  RVXBlock block = RVXBlock::withCapacity(4096);
  const auto failure = reader.readUpToCapacity(block);
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->name, "EISDIR");
  EXPECT_EQ(failure->reason, "Is a directory");
}

TEST_F(RVXStorageReaderTest, LinkIsFollowed) {
  writeFile(mFile, "abc");
  std::filesystem::create_symlink("file", mFolder.path("link"));
  auto reader = openBypassing(mFolder.path("link"));
  EXPECT_EQ(readRest(reader, 4096).bytes, "abc");
}

TEST_F(RVXStorageReaderTest, WithoutBypassItReadsAsWell) {
  writeFile(mFile, patternBytes(10000));
  auto reader = RVXStorageReader::openForReading(mFile).value();
  EXPECT_TRUE(readRest(reader, 4096).bytes == patternBytes(10000));
}

TEST_F(RVXStorageReaderTest, OffsetAdvancesByWhatWasRead) {
  writeFile(mFile, patternBytes(10000));
  auto reader = openBypassing(mFile);
  RVXBlock block = RVXBlock::withCapacity(8192);
  EXPECT_EQ(reader.currentOffset(), 0);
  ASSERT_FALSE(reader.readUpToCapacity(block).has_value());
  EXPECT_EQ(reader.currentOffset(), 8192);
  ASSERT_FALSE(reader.readUpToCapacity(block).has_value());
  EXPECT_EQ(reader.currentOffset(), 10000);
}

TEST_F(RVXStorageReaderTest, ReadsBehindTheEndGiveNothing) {
  writeFile(mFile, "abc");
  auto reader = openBypassing(mFile);
  readRest(reader, 4096);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(readRest(reader, 4096).lengths, std::vector<size_t>{0});
}

TEST_F(RVXStorageReaderTest, ReadsFromAnyOffset) {
  const std::string bytes = patternBytes(3 * kMebibyte + 17);
  writeFile(mFile, bytes);
  for (const size_t offset :
       {0UL, 1UL, 511UL, 4096UL, 4097UL, 2 * kMebibyte, 3 * kMebibyte + 16, bytes.size()}) {
    auto reader = openBypassing(mFile);
    ASSERT_FALSE(reader.seek(static_cast<int64_t>(offset)));
    EXPECT_EQ(reader.currentOffset(), static_cast<int64_t>(offset));
    EXPECT_TRUE(readRest(reader, 65536).bytes == bytes.substr(offset)) << offset;
  }
}

TEST_F(RVXStorageReaderTest, SeekGoesBack) {
  writeFile(mFile, patternBytes(10000));
  auto reader = openBypassing(mFile);
  readRest(reader, 4096);
  ASSERT_FALSE(reader.seek(4096));
  EXPECT_TRUE(readRest(reader, 4096).bytes == patternBytes(10000).substr(4096));
}

TEST_F(RVXStorageReaderTest, FileThatGrowsBehindItsEndIsReadOn) {
  for (const size_t size : {0U, 1U, 4096U, 5000U, 8192U}) {
    writeFile(mFile, patternBytes(size));
    auto reader = openBypassing(mFile);
    const std::string first = readRest(reader, 4096).bytes;
    writeFile(mFile, patternBytes(20000));
    EXPECT_TRUE(first + readRest(reader, 4096).bytes == patternBytes(20000)) << size;
  }
}

TEST_F(RVXStorageReaderTest, FileThatGrowsBeforeItIsReadIsReadWhole) {
  for (const size_t size : {0U, 1U, 4096U, 5000U, 8192U}) {
    for (const size_t capacity : {4096U, 65536U}) {
      writeFile(mFile, patternBytes(size));
      auto reader = openBypassing(mFile);
      writeFile(mFile, patternBytes(20000));
      EXPECT_TRUE(readRest(reader, capacity).bytes == patternBytes(20000)) << size;
    }
  }
}

TEST_F(RVXStorageReaderTest, FileThatShrinksBeforeItIsReadEndsAtItsNewEnd) {
  for (const size_t size : {0U, 1U, 4096U, 5000U, 8192U}) {
    for (const size_t capacity : {4096U, 65536U}) {
      writeFile(mFile, patternBytes(20000));
      auto reader = openBypassing(mFile);
      writeFile(mFile, patternBytes(size));
      EXPECT_TRUE(readRest(reader, capacity).bytes == patternBytes(size)) << size;
    }
  }
}

TEST_F(RVXStorageReaderTest, DeviceIsRead) {
  auto reader = openBypassing("/dev/zero");
  RVXBlock block = RVXBlock::withCapacity(8192);
  ASSERT_FALSE(reader.readUpToCapacity(block).has_value());
  EXPECT_EQ(textOf(block), std::string(8192, '\0'));
  auto null = openBypassing("/dev/null");
  EXPECT_EQ(readRest(null, 4096).lengths, std::vector<size_t>{0});
}

TEST_F(RVXStorageReaderTest, BytesThatWereJustWrittenAreRead) {
  writeFile(mFile, patternBytes(100000, 1));
  writeFile(mFile, patternBytes(100000, 2));  // still only in the cache
  auto reader = openBypassing(mFile);
  EXPECT_TRUE(readRest(reader, 65536).bytes == patternBytes(100000, 2));
}

TEST_F(RVXStorageReaderTest, BypassDropsWhatTheCacheHolds) {
  if (!hasObservableCache(mFolder.path())) GTEST_SKIP() << "no observable cache";
  writeFile(mFile, patternBytes(100000));
  ASSERT_GT(residentPages(mFile), 0U);
  openBypassing(mFile);
  EXPECT_EQ(residentPages(mFile), 0U);
}

TEST_F(RVXStorageReaderTest, LeavesNoPagesInTheCache) {
  if (!hasObservableCache(mFolder.path())) GTEST_SKIP() << "no observable cache";
  writeFile(mFile, patternBytes(5 * kMebibyte + 17));
  ASSERT_GT(residentPages(mFile), 0U);
  auto reader = openBypassing(mFile);
  EXPECT_TRUE(readRest(reader, 2 * kMebibyte).bytes == patternBytes(5 * kMebibyte + 17));
  EXPECT_EQ(residentPages(mFile), 0U);
}

TEST_F(RVXStorageReaderTest, IdentityIsThatOfTheOpenFile) {
  writeFile(mFile, "abc");
  const auto identity = attributesOfItem(mFile).value().identity;
  auto reader = openBypassing(mFile);
  std::filesystem::rename(mFile, mFolder.path("renamed"));
  writeFile(mFile, "another");
  EXPECT_EQ(reader.identity(), identity);
}

// Sizes around every boundary of blocks, pages and disk blocks.
class RVXStorageReaderSizeTest : public testing::TestWithParam<size_t> {
 protected:
  static void expectRead(const std::string& parent, size_t capacity) {
    const TemporaryFolder folder(parent);
    const std::string bytes = patternBytes(GetParam());
    auto reader = openBypassing(writeFile(folder.path("file"), bytes));
    const ReadFile read = readRest(reader, capacity);
    EXPECT_TRUE(read.bytes == bytes) << parent;
    // With the last block as long as it has to be, this number of blocks is only reached by full ones.
    ASSERT_EQ(read.lengths.size(), bytes.size() / capacity + 1) << parent;
    EXPECT_EQ(read.lengths.back(), bytes.size() % capacity) << parent;
  }
};

TEST_P(RVXStorageReaderSizeTest, BlocksAreFullUpToTheLast) {
  for (const std::string& parent : parentsOfTestFolders()) {
    expectRead(parent, 2 * kMebibyte);
    expectRead(parent, 4 * kMebibyte);
  }
}

INSTANTIATE_TEST_SUITE_P(Bytes, RVXStorageReaderSizeTest,
                         testing::Values(0, 1, 511, 512, 513, 4095, 4096, 4097, 2 * kMebibyte - 4096,
                                         2 * kMebibyte - 1, 2 * kMebibyte, 2 * kMebibyte + 1,
                                         2 * kMebibyte + 4096, 4 * kMebibyte - 1, 4 * kMebibyte,
                                         4 * kMebibyte + 1, 6 * kMebibyte, 8 * kMebibyte + 513),
                         [](const auto& test) { return std::to_string(test.param); });

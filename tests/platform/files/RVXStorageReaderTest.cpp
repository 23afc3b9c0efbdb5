#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/files/FileSystem.h"
#include "platform/files/RVXStorageReader.h"
#include "tests/platform/files/FileTest.h"
#include "tests/platform/files/ResidentPages.h"
#include "tests/support/Outcomes.h"

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
    const auto done = reader.readUpToCapacity(block);
    EXPECT_TRUE(done.succeeded());
    if (done.failed()) return result;
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

using RVXStorageReaderTest = FileTest;

}  // namespace

TEST_F(RVXStorageReaderTest, FIFOIsRefusedAndNotWaitedFor) {
  ASSERT_EQ(::mkfifo(mFile.c_str(), 0600), 0);
  EXPECT_EQ(failureOf(RVXStorageReader::openForReading(mFile)), "ESPIPE");
}

TEST_F(RVXStorageReaderTest, WithoutBypassItReadsAsWell) {
  writeFile(mFile, patternBytes(10000));
  auto reader = RVXStorageReader::openForReading(mFile).value();
  EXPECT_TRUE(readRest(reader, 4096).bytes == patternBytes(10000));
}

TEST_F(RVXStorageReaderTest, ReadsAfterTheEndGiveNothing) {
  writeFile(mFile, "abc");
  auto reader = openBypassing(mFile);
  readRest(reader, 4096);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(readRest(reader, 4096).lengths, std::vector<size_t>{0});
}

TEST_F(RVXStorageReaderTest, ReadsFromAnyOffset) {
  const std::string bytes = patternBytes(3 * kMebibyte + 17);
  writeFile(mFile, bytes);
  auto reader = openBypassing(mFile);
  for (const size_t offset :
       {0UL, 1UL, 511UL, 4096UL, 4097UL, 2 * kMebibyte, 3 * kMebibyte + 16, bytes.size()}) {
    ASSERT_TRUE(reader.seek(static_cast<int64_t>(offset)).succeeded());
    EXPECT_EQ(reader.currentOffset(), static_cast<int64_t>(offset));
    EXPECT_TRUE(readRest(reader, 65536).bytes == bytes.substr(offset)) << offset;
    EXPECT_EQ(reader.currentOffset(), static_cast<int64_t>(bytes.size()));
  }
}

TEST_F(RVXStorageReaderTest, FileThatGrowsAfterItsEndIsReadOn) {
  for (const size_t size : {0U, 1U, 4096U, 5000U, 8192U}) {
    writeFile(mFile, patternBytes(size));
    auto reader = openBypassing(mFile);
    const std::string first = readRest(reader, 4096).bytes;
    writeFile(mFile, patternBytes(20000));
    EXPECT_TRUE(first + readRest(reader, 4096).bytes == patternBytes(20000)) << size;
  }
}

TEST_F(RVXStorageReaderTest, FileThatHasAnotherSizeWhenItIsReadIsReadWhole) {
  for (const auto& [before, now] : {std::pair(0U, 20000U),
                                    {1U, 20000U},
                                    {4096U, 20000U},
                                    {5000U, 20000U},
                                    {20000U, 0U},
                                    {20000U, 1U},
                                    {20000U, 4096U},
                                    {20000U, 5000U}}) {
    for (const size_t capacity : {4096U, 65536U}) {
      writeFile(mFile, patternBytes(before));
      auto reader = openBypassing(mFile);
      writeFile(mFile, patternBytes(now, 2));  // still only in the cache
      EXPECT_TRUE(readRest(reader, capacity).bytes == patternBytes(now, 2)) << before << " " << now;
    }
  }
}

TEST_F(RVXStorageReaderTest, DeviceIsRead) {
  auto reader = openBypassing("/dev/zero");
  RVXBlock block = RVXBlock::withCapacity(8192);
  ASSERT_TRUE(reader.readUpToCapacity(block).succeeded());
  EXPECT_EQ(textOf(block), std::string(8192, '\0'));
  auto null = openBypassing("/dev/null");
  EXPECT_EQ(readRest(null, 4096).lengths, std::vector<size_t>{0});
}

TEST_F(RVXStorageReaderTest, LeavesNoPagesInTheCache) {
  if (!hasObservableCache(mFolder.path())) GTEST_SKIP() << "no observable cache";
  writeFile(mFile, patternBytes(5 * kMebibyte + 17));
  ASSERT_GT(residentPages(mFile), 0U);
  auto reader = openBypassing(mFile);
  EXPECT_TRUE(readRest(reader, 2 * kMebibyte).bytes == patternBytes(5 * kMebibyte + 17));
  EXPECT_EQ(residentPages(mFile), 0U);
}

TEST_F(RVXStorageReaderTest, IdentityIsThatOfTheOpenFileLinksFollowed) {
  writeFile(mFile, "abc");
  const auto identity = attributesOfItem(mFile).value().identity;
  std::filesystem::create_symlink("file", mFolder.path("link"));
  const auto reader = openBypassing(mFolder.path("link"));
  std::filesystem::rename(mFile, mFolder.path("renamed"));
  writeFile(mFile, "another");
  EXPECT_EQ(reader.identity(), identity);
}

// Sizes around every boundary of blocks, pages and disk blocks.
TEST_F(RVXStorageReaderTest, BlocksAreFullUpToTheLast) {
  for (const size_t size :
       {size_t{0}, size_t{1}, size_t{511}, size_t{512}, size_t{513}, size_t{4095}, size_t{4096}, size_t{4097},
        2 * kMebibyte - 4096, 2 * kMebibyte - 1, 2 * kMebibyte, 2 * kMebibyte + 1, 2 * kMebibyte + 4096,
        4 * kMebibyte - 1, 4 * kMebibyte, 4 * kMebibyte + 1, 6 * kMebibyte, 8 * kMebibyte + 513}) {
    const std::string bytes = patternBytes(size);
    for (const std::string& parent : parentsOfTestFolders()) {
      const TemporaryFolder folder(parent);
      writeFile(folder.path("file"), bytes);
      for (const size_t capacity : {2 * kMebibyte, 4 * kMebibyte}) {
        auto reader = openBypassing(folder.path("file"));
        const ReadFile read = readRest(reader, capacity);
        EXPECT_TRUE(read.bytes == bytes) << parent << size;
        // With the last block as long as it has to be, this number of blocks is only reached by full ones.
        ASSERT_EQ(read.lengths.size(), size / capacity + 1) << parent << size;
        EXPECT_EQ(read.lengths.back(), size % capacity) << parent << size;
      }
    }
  }
}

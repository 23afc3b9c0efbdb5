#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "platform/files/RVXStorageWriter.h"
#include "tests/platform/files/FileTest.h"
#include "tests/platform/files/ResidentPages.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Outcomes.h"

namespace {

constexpr size_t kMebibyte = size_t{1024} * 1024;
constexpr size_t kBlock = 2 * kMebibyte;

RVXStorageWriter openBypassing(const std::string& path) {
  auto opened = RVXStorageWriter::openForWriting(path);
  RVXStorageWriter::bypassCache(opened);
  return std::move(opened).value();
}

// Writes the text in blocks and closes; true when nothing failed.
bool writeInBlocks(RVXStorageWriter writer, std::string_view text, size_t block = kBlock) {
  for (; !text.empty(); text.remove_prefix(std::min(block, text.size()))) {
    if (writer.write(bytesOf(text.substr(0, block))).failed()) return false;
  }
  return writer.makeDurable().succeeded() && writer.close().succeeded();
}

using RVXStorageWriterTest = FileTest;

}  // namespace

TEST_F(RVXStorageWriterTest, CreatesOnlyWhatIsNotThere) {
  EXPECT_TRUE(RVXStorageWriter::createForWriting(mFile).succeeded());
  EXPECT_EQ(readFile(mFile), "");
  EXPECT_EQ(failureOf(RVXStorageWriter::createForWriting(mFile)), "EEXIST");
}

TEST_F(RVXStorageWriterTest, LinkIsNotFollowed) {
  std::filesystem::create_symlink("target", mFile);
  EXPECT_EQ(failureOf(RVXStorageWriter::createForWriting(mFile)), "EEXIST");
  EXPECT_EQ(failureOf(RVXStorageWriter::openForWriting(mFile)), "ELOOP");
  EXPECT_FALSE(exists(mFolder.path("target")));
}

TEST_F(RVXStorageWriterTest, FIFOWithoutAReaderIsNotWaitedFor) {
  ASSERT_EQ(::mkfifo(mFile.c_str(), 0600), 0);
  EXPECT_EQ(failureOf(RVXStorageWriter::openForWriting(mFile)), "ENXIO");
}

TEST_F(RVXStorageWriterTest, OpeningLeavesAnExistingFileAloneAndTruncateEmptiesIt) {
  writeFile(mFile, "precious");
  auto writer = openBypassing(mFile);
  EXPECT_EQ(readFile(mFile), "precious");
  EXPECT_EQ(writer.attributes().value().identity, attributesOfItem(mFile).value().identity);
  EXPECT_TRUE(writer.truncate().succeeded());
  EXPECT_EQ(std::filesystem::file_size(mFile), 0U);
  EXPECT_TRUE(writeInBlocks(std::move(writer), "abc"));
  EXPECT_EQ(readFile(mFile), "abc");
}

TEST_F(RVXStorageWriterTest, CacheRequestOfAFileThatIsNotOpenIsHarmless) {
  const ChildEnd end = runInChild([&] {
    // Descriptor 0 is a pipe that is shared: direct transfers would change it for all.
    std::array<int, 2> ends{};
    ::pipe(ends.data());
    ::dup2(ends[1], STDIN_FILENO);
    const int before = ::fcntl(STDIN_FILENO, F_GETFL);
    auto opened = RVXStorageWriter::openForWriting(mFolder.path("missing/file"));
    RVXStorageWriter::bypassCache(opened);
    print("%d %s", ::fcntl(STDIN_FILENO, F_GETFL) == before ? 1 : 0, failureOf(opened).c_str());
  });
  EXPECT_EQ(end.output, "1 ENOENT");
}

TEST_F(RVXStorageWriterTest, DevicesTakeWhatTheyTake) {
  auto null = openBypassing("/dev/null");
  EXPECT_TRUE(null.truncate().succeeded());
  EXPECT_TRUE(writeInBlocks(std::move(null), patternBytes(3 * kMebibyte)));
  EXPECT_EQ(failureOf(openBypassing("/dev/full").write(bytesOf("abc"))), "ENOSPC");
}

TEST_F(RVXStorageWriterTest, OddPiecesOfUnalignedMemoryJoin) {
  const std::string bytes = patternBytes(300007);
  EXPECT_TRUE(writeInBlocks(openBypassing(mFile), std::string_view(bytes).substr(1), 1001));
  EXPECT_TRUE(readFile(mFile) == bytes.substr(1));
}

TEST_F(RVXStorageWriterTest, WithoutBypassItWritesAsWell) {
  EXPECT_TRUE(writeInBlocks(RVXStorageWriter::openForWriting(mFile).value(), patternBytes(100000)));
  EXPECT_TRUE(readFile(mFile) == patternBytes(100000));
}

TEST_F(RVXStorageWriterTest, LeavesNoPagesInTheCache) {
  if (!hasObservableCache(mFolder.path())) GTEST_SKIP() << "no observable cache";
  EXPECT_TRUE(writeInBlocks(openBypassing(mFile), patternBytes(9 * kMebibyte + 17)));
  EXPECT_EQ(residentPages(mFile), 0U);
}

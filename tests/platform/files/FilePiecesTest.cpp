#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/files/FilePieces.h"
#include "tests/support/Files.h"
#include "tests/support/Outcomes.h"

namespace {

bool takeNothing(std::string_view /*piece*/) {
  return false;
}

}  // namespace

TEST(FilePiecesTest, AllBytesInOrderUntilNoMoreAreWanted) {
  const TemporaryFolder folder;
  const std::string bytes = patternBytes(700001);
  const std::string path = writeFile(folder.path("a"), bytes);
  std::string read;
  int pieces = 0;
  const auto take = [&](std::string_view piece) {
    read += piece;
    return ++pieces != 2;
  };
  EXPECT_TRUE(readInPieces(path, take).succeeded());
  EXPECT_EQ(pieces, 2);
  EXPECT_EQ(read, bytes.substr(0, read.size()));
  read.clear();
  EXPECT_TRUE(readInPieces(path, take).succeeded());
  EXPECT_EQ(read, bytes);
}

TEST(FilePiecesTest, WhatIsNoFileIsAFailureWithoutAWait) {
  const TemporaryFolder folder;
  EXPECT_EQ(failureOf(readInPieces(folder.path("gone"), takeNothing)), "ENOENT");
  ASSERT_EQ(::mkfifo(folder.path("fifo").c_str(), 0600), 0);
  for (const std::string& path : {folder.path("fifo"), std::string("/dev/null")}) {
    const auto done = readInPieces(path, takeNothing);
    ASSERT_TRUE(done.failed()) << path;
    EXPECT_EQ(done.failure().reason, "no regular file");
  }
}

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "copy/RVXFlushGroup.h"
#include "tests/support/Files.h"

namespace {

size_t openFiles() {
  return entryCount("/proc/self/fd");
}

class RVXFlushGroupTest : public testing::Test {
 protected:
  // The copies of one source file at two destinations.
  std::vector<RVXDestinationFile> copies(const std::string& name) {
    std::vector<RVXDestinationFile> copies;
    for (const char* folder : {"d1", "d2"}) copies.push_back(copy(mFolder.folder(folder), name));
    return copies;
  }

  static RVXDestinationFile copy(const std::string& folder, const std::string& name) {
    auto opened = RVXStorageWriter::openForWriting(folder + "/" + name);
    RVXStorageWriter::bypassCache(opened);
    EXPECT_TRUE(opened.value().write(std::as_bytes(std::span("movie", 5))).succeeded());
    return {std::move(opened).value(), folder};
  }

  TemporaryFolder mFolder;
  RVXFlushGroup mGroup;
  const size_t mOpenBefore = openFiles();
};

}  // namespace

TEST_F(RVXFlushGroupTest, CopiesStayOpenUntilTheyAreFlushed) {
  for (int i = 0; i < 10; ++i) mGroup.add(copies(std::to_string(i)));
  EXPECT_EQ(openFiles(), mOpenBefore + 20);
  mGroup.flush();
  EXPECT_EQ(openFiles(), mOpenBefore);
  EXPECT_EQ(readFile(mFolder.path("d2/9")), "movie");
}

TEST_F(RVXFlushGroupTest, FullGroupIsFlushed) {
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const size_t free = 100;
  const rlimit lowered{mOpenBefore + free, before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &lowered);
  RVXFlushGroup group;
  size_t most = 0;
  for (size_t i = 0; i < free; ++i) {
    group.add(copies("copy"));
    most = std::max(most, openFiles());
  }
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_LE(most, mOpenBefore + free / 2);
  EXPECT_GT(most, mOpenBefore + free / 4);
}

TEST_F(RVXFlushGroupTest, WhatIsNoFileIsClosedAtOnce) {
  std::vector<RVXDestinationFile> copies;
  copies.push_back(copy("/dev", "null"));
  mGroup.add(std::move(copies));
  EXPECT_EQ(openFiles(), mOpenBefore);
}

TEST_F(RVXFlushGroupTest, EmptyGroupMayBeFlushed) {
  mGroup.add({});
  mGroup.flush();
  EXPECT_EQ(openFiles(), mOpenBefore);
}

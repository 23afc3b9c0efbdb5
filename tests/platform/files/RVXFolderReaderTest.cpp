#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "platform/files/RVXFolderReader.h"
#include "tests/support/Files.h"
#include "tests/support/Outcomes.h"

TEST(RVXFolderReaderTest, EveryEntryWithItsOwnType) {
  const TemporaryFolder folder;
  writeFile(folder.path("file"), "");
  std::filesystem::create_directory(folder.path("folder"));
  std::filesystem::create_symlink("folder", folder.path("link"));
  ::mkfifo(folder.path("fifo").c_str(), 0600);
  std::map<std::string, RVXFileType> found;
  const auto take = [&](const char* name, RVXFileType type) { found[name] = type; };
  EXPECT_TRUE(readFolder(folder.path(""), take).succeeded());
  const std::map<std::string, RVXFileType> expected = {{"file", RVXFileType::regular},
                                                       {"folder", RVXFileType::folder},
                                                       {"link", RVXFileType::symbolicLink},
                                                       {"fifo", RVXFileType::fifo}};
  EXPECT_EQ(found, expected);
}

TEST(RVXFolderReaderTest, WhatCannotBeListedIsAFailure) {
  const auto ignore = [](const char*, RVXFileType) {};
  EXPECT_EQ(failureOf(readFolder("/nowhere", ignore)), "ENOENT");
  EXPECT_EQ(failureOf(readFolder("/dev/null", ignore)), "ENOTDIR");
  EXPECT_TRUE(readFolder("", ignore).succeeded());
}

TEST(RVXFolderReaderTest, TheRealPathHasNoLinks) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink("/usr/bin/../share", folder.path("link"));
  EXPECT_EQ(realPath(folder.path("link")), "/usr/share");
  EXPECT_EQ(realPath("/nowhere/at/all"), std::nullopt);
}

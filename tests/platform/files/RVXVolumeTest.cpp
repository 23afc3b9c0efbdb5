#include <gtest/gtest.h>

#include "platform/files/RVXVolume.h"
#include "tests/support/Tools.h"

// What lies on disks is tested from outside, with mounted images.

TEST(RVXVolumeTest, TheMountPointIsTheOneThatTheSystemTells) {
  for (const std::string path : {"/", "/proc/self/stat", "/dev/null", "/usr"}) {
    const std::string expected = outputOfShell("findmnt --noheadings --output TARGET --target " + path);
    EXPECT_EQ(RVXVolume::ofItem(path).mountPoint + "\n", expected) << path;
  }
}

TEST(RVXVolumeTest, WhatHasNeitherDeviceNorServerIsOnNoDisk) {
  for (const char* const path : {"/proc/self/stat", "/sys/kernel", "/dev/null"}) {
    EXPECT_TRUE(RVXVolume::ofItem(path).disks.empty()) << path;
  }
}

TEST(RVXVolumeTest, NothingIsKnownOfWhatIsNotThere) {
  EXPECT_EQ(RVXVolume::ofItem("/nowhere/at/all").mountPoint, "");
  EXPECT_FALSE(mayBeReadFromMemory("/nowhere/at/all"));
}

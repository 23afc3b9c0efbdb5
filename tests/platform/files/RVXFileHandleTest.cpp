#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "platform/files/RVXFileHandle.h"
#include "tests/platform/files/FileTest.h"
#include "tests/platform/files/ResidentPages.h"
#include "tests/support/Outcomes.h"

namespace {

std::span<std::byte> storageOf(std::string& text) {
  return std::as_writable_bytes(std::span(text));
}

RVXFileHandle openFile(const std::string& path, int flags) {
  return RVXFileHandle::open(path, flags).value();
}

// The number under which this process has the file open; -1 when it has not.
int descriptorOf(const std::string& path) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code ignored;
    if (std::filesystem::read_symlink(entry.path(), ignored) == path)
      return std::stoi(entry.path().filename().string());
  }
  return -1;
}

int flagsOf(const std::string& path) {
  return ::fcntl(descriptorOf(path), F_GETFL);
}

class RVXFileHandleTest : public FileTest {
 protected:
  RVXFileHandleTest() { writeFile(mFile, "abc"); }
};

// A FIFO with both its ends.
class RVXFileHandleFIFOTest : public RVXFileHandleTest {
 protected:
  void writePiece(const std::string& piece) { EXPECT_TRUE(mWriteEnd.writeWhole(bytesOf(piece)).succeeded()); }

  static std::string madeFIFO(const std::string& path) {
    return ::mkfifo(path.c_str(), 0600) == 0 ? path : "(no FIFO)";
  }

  std::string mFIFO = madeFIFO(mFolder.path("fifo"));
  RVXFileHandle mReadEnd = RVXFileHandle::openWithoutPeer(mFIFO, O_RDONLY).value();
  RVXFileHandle mWriteEnd = RVXFileHandle::openWithoutPeer(mFIFO, O_WRONLY).value();
};

}  // namespace

TEST_F(RVXFileHandleTest, OpenedFileIsNotInheritedByOtherPrograms) {
  const RVXFileHandle handle = openFile(mFile, O_RDONLY);
  EXPECT_EQ(::fcntl(descriptorOf(mFile), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(RVXFileHandleTest, FailedOpeningTellsWhy) {
  EXPECT_EQ(failureOf(RVXFileHandle::open(mFolder.path("missing"), O_RDONLY)), "ENOENT");
  EXPECT_EQ(failureOf(RVXFileHandle::openWithoutPeer(mFolder.path("missing"), O_RDONLY)), "ENOENT");
}

TEST_F(RVXFileHandleTest, ClosesOnce) {
  RVXFileHandle handle = openFile(mFile, O_RDONLY);
  EXPECT_TRUE(handle.close().succeeded());
  EXPECT_EQ(descriptorOf(mFile), -1);
  EXPECT_TRUE(handle.close().succeeded());
}

TEST_F(RVXFileHandleTest, FailedClosingIsAFailureAndNotRepeated) {
  RVXFileHandle handle = openFile(mFile, O_RDONLY);
  ::close(descriptorOf(mFile));
  EXPECT_EQ(failureOf(handle.close()), "EBADF");
  EXPECT_TRUE(handle.close().succeeded());
}

TEST_F(RVXFileHandleTest, WhoeverHasTheDescriptorLastCloses) {
  {
    RVXFileHandle first = openFile(mFile, O_RDONLY);
    RVXFileHandle& same = first;
    first = std::move(same);
    EXPECT_TRUE(first.attributes().succeeded());
    {
      const RVXFileHandle moved(std::move(first));
      EXPECT_TRUE(moved.attributes().succeeded());
    }
    EXPECT_EQ(descriptorOf(mFile), -1);
    first = openFile(mFile, O_RDONLY);
    first = openFile(mFolder.path(), O_RDONLY);
    EXPECT_EQ(descriptorOf(mFile), -1);
    EXPECT_EQ(first.attributes().value().type, RVXFileType::folder);
  }
  EXPECT_EQ(descriptorOf(mFolder.path()), -1);
}

TEST_F(RVXFileHandleTest, AttributesAreThoseOfTheOpenFile) {
  const RVXFileHandle handle = openFile(mFile, O_RDONLY);
  std::filesystem::rename(mFile, mFolder.path("renamed"));
  EXPECT_EQ(handle.attributes().value().type, RVXFileType::regular);
  EXPECT_EQ(handle.attributes().value().size, 3);
}

TEST_F(RVXFileHandleTest, WhatIsNotOpenFails) {
  RVXFileHandle handle;
  EXPECT_TRUE(handle.close().succeeded());
  EXPECT_EQ(failureOf(handle.attributes()), "EBADF");
  EXPECT_EQ(failureOf(handle.seek(0)), "EBADF");
  EXPECT_EQ(failureOf(handle.truncate()), "EBADF");
  EXPECT_EQ(failureOf(handle.syncData()), "EBADF");
  EXPECT_EQ(failureOf(handle.syncWholeFile()), "EBADF");
  EXPECT_EQ(failureOf(handle.waitForWriteBack(0, 0)), "EBADF");
  EXPECT_FALSE(handle.canWriteBackRanges());
  EXPECT_FALSE(handle.setDirect(true));
  handle.dropCachedFile();  // is harmless
}

TEST_F(RVXFileHandleFIFOTest, WithoutItsPeerItIsNotWaitedFor) {
  const std::string lonely = madeFIFO(mFolder.path("lonely"));
  EXPECT_EQ(failureOf(RVXFileHandle::openWithoutPeer(lonely, O_WRONLY)), "ENXIO");
  EXPECT_TRUE(RVXFileHandle::openWithoutPeer(lonely, O_RDONLY).succeeded());
}

TEST_F(RVXFileHandleFIFOTest, OnlyTheOpeningDoesntWait) {
  EXPECT_EQ(flagsOf(mFIFO) & O_NONBLOCK, 0);
}

TEST_F(RVXFileHandleFIFOTest, ReadSomeGivesWhatIsThereAndNothingAtTheEnd) {
  writePiece("abc");
  std::string bytes(10, '\0');
  EXPECT_EQ(mReadEnd.readSome(storageOf(bytes)).value(), 3U);
  EXPECT_EQ(bytes.substr(0, 3), "abc");
  EXPECT_TRUE(mWriteEnd.close().succeeded());
  EXPECT_EQ(mReadEnd.readSome(storageOf(bytes)).value(), 0U);
}

TEST_F(RVXFileHandleFIFOTest, ReadWholeContinuesShortReads) {
  const std::jthread writer([&] {
    for (const char* piece : {"ab", "c", "defg", "hij", "klm"}) {
      writePiece(piece);
      std::this_thread::yield();
    }
  });
  std::string bytes(10, '\0');
  EXPECT_EQ(mReadEnd.readWhole(storageOf(bytes)).value(), 10U);
  EXPECT_EQ(bytes, "abcdefghij");
}

TEST_F(RVXFileHandleFIFOTest, WhatHasNoSyncIsNoFailure) {
  EXPECT_TRUE(mWriteEnd.syncData().succeeded());
  EXPECT_TRUE(mWriteEnd.syncWholeFile().succeeded());
  EXPECT_TRUE(openFile("/dev/null", O_WRONLY).syncData().succeeded());
  EXPECT_TRUE(openFile("/dev/null", O_WRONLY).waitForWriteBack(0, 0).succeeded());
}

TEST_F(RVXFileHandleTest, ReadWholeEndsWhereTheFileEnds) {
  RVXFileHandle handle = openFile(mFile, O_RDONLY);
  std::string bytes(10, '\0');
  EXPECT_EQ(handle.readWhole(storageOf(bytes)).value(), 3U);
  EXPECT_EQ(handle.readWhole(storageOf(bytes)).value(), 0U);
}

TEST_F(RVXFileHandleTest, FullDeviceTakesNothing) {
  RVXFileHandle full = openFile("/dev/full", O_WRONLY);
  bool offered = true;
  EXPECT_TRUE(full.writeWhole({}).succeeded());
  EXPECT_EQ(failureOf(full.writeWhole(bytesOf("abc"))), "ENOSPC");
  EXPECT_EQ(failureOf(full.writeWholeUncached(bytesOf("abc"), offered)), "ENOSPC");
}

TEST_F(RVXFileHandleTest, UncachedWriteWritesEverywhere) {
  const std::string bytes = patternBytes(3000001);
  for (const std::string& parent : parentsOfTestFolders()) {
    for (const bool isWanted : {true, false}) {
      const TemporaryFolder folder(parent);
      bool offered = isWanted;
      RVXFileHandle handle = openFile(folder.path("file"), O_WRONLY | O_CREAT);
      EXPECT_TRUE(handle.writeWholeUncached(bytesOf(bytes), offered).succeeded());
      EXPECT_TRUE(handle.writeWholeUncached(bytesOf("end"), offered).succeeded());
      EXPECT_TRUE(readFile(folder.path("file")) == bytes + "end") << parent;
      EXPECT_LE(offered, isWanted);
    }
  }
}

TEST_F(RVXFileHandleTest, SyncOfAFileAndAFolderSucceeds) {
  EXPECT_TRUE(openFile(mFile, O_WRONLY).syncData().succeeded());
  EXPECT_TRUE(openFile(mFile, O_WRONLY).syncWholeFile().succeeded());
  EXPECT_TRUE(openFile(mFolder.path(), O_RDONLY).syncWholeFile().succeeded());
}

TEST_F(RVXFileHandleTest, DirectTransfersAreSwitchedAloneAndRefusedByDevices) {
  RVXFileHandle handle = openFile(mFile, O_RDWR);
  const int before = flagsOf(mFile);
  EXPECT_FALSE(openFile("/dev/null", O_RDWR).setDirect(true));
  if (!handle.setDirect(true)) GTEST_SKIP() << "refused by this file system";
  EXPECT_EQ(flagsOf(mFile), before | O_DIRECT);
  EXPECT_TRUE(handle.setDirect(false));
  EXPECT_EQ(flagsOf(mFile), before);
}

TEST_F(RVXFileHandleTest, DroppedRangeLeavesTheOtherPages) {
  if (!hasObservableCache(mFolder.path())) GTEST_SKIP() << "no observable cache";
  constexpr int64_t kMebibyte = 1024 * 1024;
  writeFile(mFile, patternBytes(8 * kMebibyte));
  RVXFileHandle handle = openFile(mFile, O_RDWR);
  handle.startWriteBack(0, kMebibyte);
  ASSERT_TRUE(handle.waitForWriteBack(0, 0).succeeded());
  const size_t before = residentPages(mFile);
  handle.dropCachedRange(0, 6 * kMebibyte);
  // The kernel may keep a group of pages that the range only touches, of 2 MiB at most.
  EXPECT_LE(residentPages(mFile), before / 2);
  EXPECT_GE(residentPages(mFile), before / 4);
}

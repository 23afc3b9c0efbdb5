#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <thread>

#include "include/Print.h"
#include "platform/files/RVXFileHandle.h"
#include "platform/files/RVXTransfer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/Interruptions.h"
#include "tests/support/Waiting.h"

namespace {

std::span<const std::byte> bytesOf(const std::string& text) {
  return std::as_bytes(std::span(text));
}

std::span<std::byte> storageOf(std::string& text) {
  return std::as_writable_bytes(std::span(text));
}

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
      readEnd = RVXFileHandle(ends[0]);
      writeEnd = RVXFileHandle(ends[1]);
    }
  }
  RVXFileHandle readEnd;
  RVXFileHandle writeEnd;
};

void writePiece(const Pipe& pipe, const std::string& piece) {
  EXPECT_EQ(::write(pipe.writeEnd.descriptor(), piece.data(), piece.size()),
            static_cast<ssize_t>(piece.size()));
}

void expectFailure(const std::optional<RVXIOFailure>& failure, const std::string& name) {
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->name, name);
}

class RVXTransferTest : public testing::Test {
 protected:
  const Deadline mDeadline;
  TemporaryFolder mFolder;
};

}  // namespace

TEST_F(RVXTransferTest, ReadSomeGivesWhatIsThere) {
  const Pipe pipe;
  writePiece(pipe, "abc");
  std::string bytes(10, '\0');
  const RVXReadResult result = readSome(pipe.readEnd.descriptor(), storageOf(bytes));
  EXPECT_FALSE(result.failure.has_value());
  EXPECT_EQ(bytes.substr(0, result.length), "abc");
}

TEST_F(RVXTransferTest, ReadSomeAtTheEndGivesNothing) {
  Pipe pipe;
  pipe.writeEnd.close();
  std::string bytes(10, '\0');
  const RVXReadResult result = readSome(pipe.readEnd.descriptor(), storageOf(bytes));
  EXPECT_FALSE(result.failure.has_value());
  EXPECT_EQ(result.length, 0U);
}

TEST_F(RVXTransferTest, ReadOfAFolderFails) {
  const RVXFileHandle folder = RVXFileHandle::open(mFolder.path(), O_RDONLY);
  std::string bytes(10, '\0');
  expectFailure(readSome(folder.descriptor(), storageOf(bytes)).failure, "EISDIR");
  expectFailure(readWhole(folder.descriptor(), storageOf(bytes)).failure, "EISDIR");
}

TEST_F(RVXTransferTest, ReadWholeContinuesShortReads) {
  Pipe pipe;
  const std::jthread writer([&] {
    for (const char* piece : {"ab", "c", "defg", "hij", "klm"}) {
      writePiece(pipe, piece);
      std::this_thread::yield();
    }
  });
  std::string bytes(10, '\0');
  const RVXReadResult result = readWhole(pipe.readEnd.descriptor(), storageOf(bytes));
  EXPECT_EQ(result.length, 10U);
  EXPECT_EQ(bytes, "abcdefghij");
}

TEST_F(RVXTransferTest, ReadWholeEndsWhereTheFileEnds) {
  const RVXFileHandle file = RVXFileHandle::open(writeFile(mFolder.path("file"), "abc"), O_RDONLY);
  std::string bytes(10, '\0');
  EXPECT_EQ(readWhole(file.descriptor(), storageOf(bytes)).length, 3U);
  EXPECT_EQ(readWhole(file.descriptor(), storageOf(bytes)).length, 0U);
}

TEST_F(RVXTransferTest, WriteWholeContinuesShortWrites) {
  Pipe pipe;
  const std::string bytes = patternBytes(1000000);  // far more than a pipe holds
  std::string received(bytes.size(), '\0');
  size_t length = 0;
  std::jthread reader([&] { length = readWhole(pipe.readEnd.descriptor(), storageOf(received)).length; });
  EXPECT_FALSE(writeWhole(pipe.writeEnd.descriptor(), bytesOf(bytes)).has_value());
  reader.join();
  EXPECT_EQ(length, bytes.size());
  EXPECT_TRUE(received == bytes);
}

TEST_F(RVXTransferTest, InterruptedWriteIsRepeated) {
  const ChildEnd end = runInChild([] {
    Pipe pipe;
    const std::string bytes = patternBytes(1000000);
    std::string received(bytes.size(), '\0');
    std::jthread reader([&] {
      Interruptions::waitForSome();
      const auto result = readWhole(pipe.readEnd.descriptor(), storageOf(received));
      print("read %d ", result.failure.has_value() ? 1 : 0);
    });
    const auto failure = [&] {
      const Interruptions interruptions;
      return writeWhole(pipe.writeEnd.descriptor(), bytesOf(bytes));
    }();
    reader.join();
    print("written %d equal %d", failure.has_value() ? 1 : 0, received == bytes ? 1 : 0);
  });
  EXPECT_EQ(end.output, "read 0 written 0 equal 1");
}

TEST_F(RVXTransferTest, InterruptedReadIsRepeated) {
  const ChildEnd end = runInChild([] {
    const Pipe pipe;
    const std::jthread writer([&] {
      Interruptions::waitForSome();
      writePiece(pipe, "abc");
    });
    const Interruptions interruptions;
    std::string bytes(3, '\0');
    const auto result = readSome(pipe.readEnd.descriptor(), storageOf(bytes));
    print("%d %s", result.failure.has_value() ? 1 : 0, bytes.c_str());
  });
  EXPECT_EQ(end.output, "0 abc");
}

TEST_F(RVXTransferTest, WritingNothingSucceeds) {
  EXPECT_FALSE(writeWhole(-1, {}).has_value());
  const RVXFileHandle full = RVXFileHandle::open("/dev/full", O_WRONLY);
  EXPECT_FALSE(writeWhole(full.descriptor(), {}).has_value());
}

TEST_F(RVXTransferTest, FullDeviceFails) {
  const RVXFileHandle full = RVXFileHandle::open("/dev/full", O_WRONLY);
  const auto failure = writeWhole(full.descriptor(), bytesOf("abc"));
  expectFailure(failure, "ENOSPC");
  EXPECT_EQ(failure->reason, "No space left on device");
}

TEST_F(RVXTransferTest, WriteToAReadOnlyDescriptorFails) {
  const RVXFileHandle null = RVXFileHandle::open("/dev/null", O_RDONLY);
  expectFailure(writeWhole(null.descriptor(), bytesOf("abc")), "EBADF");
}

TEST_F(RVXTransferTest, UncachedWriteWritesEverywhere) {
  for (const std::string& parent : parentsOfTestFolders()) {
    const TemporaryFolder folder(parent);
    const std::string path = folder.path("file");
    const std::string bytes = patternBytes(3000001);
    bool offered = true;
    {
      const RVXFileHandle file = RVXFileHandle::open(path, O_WRONLY | O_CREAT);
      EXPECT_FALSE(writeWholeUncached(file.descriptor(), bytesOf(bytes), offered).has_value());
      EXPECT_FALSE(writeWholeUncached(file.descriptor(), bytesOf("end"), offered).has_value());
    }
    EXPECT_TRUE(readFile(path) == bytes + "end") << parent;
  }
}

TEST_F(RVXTransferTest, UncachedWriteThatIsNotWantedIsAPlainOne) {
  const std::string path = mFolder.path("file");
  bool offered = false;
  {
    const RVXFileHandle file = RVXFileHandle::open(path, O_WRONLY | O_CREAT);
    EXPECT_FALSE(writeWholeUncached(file.descriptor(), bytesOf("abc"), offered).has_value());
  }
  EXPECT_FALSE(offered);
  EXPECT_EQ(readFile(path), "abc");
}

TEST_F(RVXTransferTest, UncachedWriteFailsAsAPlainOneDoes) {
  const RVXFileHandle full = RVXFileHandle::open("/dev/full", O_WRONLY);
  bool offered = true;
  expectFailure(writeWholeUncached(full.descriptor(), bytesOf("abc"), offered), "ENOSPC");
}

TEST_F(RVXTransferTest, SyncOfAFileAndAFolderSucceeds) {
  const RVXFileHandle file = RVXFileHandle::open(mFolder.path("file"), O_WRONLY | O_CREAT);
  const RVXFileHandle folder = RVXFileHandle::open(mFolder.path(), O_RDONLY);
  EXPECT_FALSE(syncData(file.descriptor()).has_value());
  EXPECT_FALSE(syncWholeFile(file.descriptor()).has_value());
  EXPECT_FALSE(syncWholeFile(folder.descriptor()).has_value());
}

TEST_F(RVXTransferTest, WhatHasNoSyncIsNoFailure) {
  const Pipe pipe;
  EXPECT_FALSE(syncData(pipe.writeEnd.descriptor()).has_value());
  EXPECT_FALSE(syncWholeFile(pipe.writeEnd.descriptor()).has_value());
  const RVXFileHandle null = RVXFileHandle::open("/dev/null", O_WRONLY);
  EXPECT_FALSE(syncData(null.descriptor()).has_value());
}

TEST_F(RVXTransferTest, FailedSyncIsAFailure) {
  expectFailure(syncData(-1), "EBADF");
  expectFailure(syncWholeFile(-1), "EBADF");
}

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <thread>

#include "platform/files/RVXFileHandle.h"
#include "tests/support/Files.h"
#include "tests/support/Interruptions.h"
#include "tests/support/Waiting.h"

namespace {

bool isOpenDescriptor(int descriptor) {
  return ::fcntl(descriptor, F_GETFD) >= 0;
}

class RVXFileHandleTest : public testing::Test {
 protected:
  TemporaryFolder mFolder;
  std::string mFile = writeFile(mFolder.path("file"), "abc");
};

}  // namespace

TEST_F(RVXFileHandleTest, NewHandleIsNotOpen) {
  RVXFileHandle handle;
  EXPECT_FALSE(handle.isOpen());
  EXPECT_LT(handle.descriptor(), 0);
  EXPECT_FALSE(handle.close().has_value());
}

TEST_F(RVXFileHandleTest, OpenedFileIsNotInheritedByOtherPrograms) {
  const RVXFileHandle handle = RVXFileHandle::open(mFile, O_RDONLY);
  ASSERT_TRUE(handle.isOpen());
  EXPECT_EQ(::fcntl(handle.descriptor(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(RVXFileHandleTest, FailedOpeningTellsWhyInErrno) {
  const RVXFileHandle handle = RVXFileHandle::open(mFolder.path("missing"), O_RDONLY);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(handle.isOpen());
}

TEST_F(RVXFileHandleTest, NewFileHasThePermissionsThatTheUmaskLeaves) {
  const mode_t before = ::umask(027);
  { const RVXFileHandle handle = RVXFileHandle::open(mFolder.path("new"), O_WRONLY | O_CREAT); }
  ::umask(before);
  struct stat status {};
  ASSERT_EQ(::stat(mFolder.path("new").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(RVXFileHandleTest, ClosesOnce) {
  RVXFileHandle handle = RVXFileHandle::open(mFile, O_RDONLY);
  const int descriptor = handle.descriptor();
  EXPECT_FALSE(handle.close().has_value());
  EXPECT_FALSE(isOpenDescriptor(descriptor));
  EXPECT_FALSE(handle.isOpen());
  EXPECT_FALSE(handle.close().has_value());
}

TEST_F(RVXFileHandleTest, FailedClosingIsAFailureAndNotRepeated) {
  RVXFileHandle handle(9999);
  const auto failure = handle.close();
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->name, "EBADF");
  EXPECT_FALSE(handle.close().has_value());
}

TEST_F(RVXFileHandleTest, DestructionCloses) {
  int descriptor = -1;
  {
    const RVXFileHandle handle = RVXFileHandle::open(mFile, O_RDONLY);
    descriptor = handle.descriptor();
    EXPECT_TRUE(isOpenDescriptor(descriptor));
  }
  EXPECT_FALSE(isOpenDescriptor(descriptor));
}

TEST_F(RVXFileHandleTest, MovingTakesTheDescriptorAlong) {
  RVXFileHandle handle = RVXFileHandle::open(mFile, O_RDONLY);
  const int descriptor = handle.descriptor();
  {
    const RVXFileHandle moved(std::move(handle));
    EXPECT_EQ(moved.descriptor(), descriptor);
  }
  EXPECT_FALSE(isOpenDescriptor(descriptor));
}

TEST_F(RVXFileHandleTest, AssignmentClosesWhatWasOpen) {
  RVXFileHandle handle = RVXFileHandle::open(mFile, O_RDONLY);
  RVXFileHandle other = RVXFileHandle::open(mFile, O_RDONLY);
  const int first = handle.descriptor();
  const int second = other.descriptor();
  handle = std::move(other);
  EXPECT_FALSE(isOpenDescriptor(first));
  EXPECT_EQ(handle.descriptor(), second);
  EXPECT_TRUE(isOpenDescriptor(second));
}

TEST_F(RVXFileHandleTest, AssignmentToItselfChangesNothing) {
  RVXFileHandle handle = RVXFileHandle::open(mFile, O_RDONLY);
  RVXFileHandle& same = handle;
  const int descriptor = handle.descriptor();
  handle = std::move(same);
  EXPECT_EQ(handle.descriptor(), descriptor);
  EXPECT_TRUE(isOpenDescriptor(descriptor));
}

TEST_F(RVXFileHandleTest, InterruptedOpeningGoesOn) {
  const Deadline deadline;
  const std::string fifo = mFolder.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const Interruptions interruptions;
  RVXFileHandle peer;
  const std::jthread peersThread([&] {
    Interruptions::waitForSome();
    peer = RVXFileHandle::openWithoutPeer(fifo, O_RDONLY);
  });
  EXPECT_TRUE(RVXFileHandle::open(fifo, O_WRONLY).isOpen());
}

TEST_F(RVXFileHandleTest, AttributesAreThoseOfTheOpenFile) {
  const auto file = RVXFileHandle::open(mFile, O_RDONLY).attributes();
  ASSERT_TRUE(file.has_value());
  EXPECT_EQ(file->type, RVXFileType::regular);
  EXPECT_EQ(file->size, 3);
  EXPECT_EQ(RVXFileHandle::open(mFolder.path(), O_RDONLY).attributes().value().type, RVXFileType::folder);
  EXPECT_EQ(RVXFileHandle::open("/dev/null", O_RDONLY).attributes().value().type, RVXFileType::other);
  EXPECT_FALSE(RVXFileHandle().attributes().has_value());
}

TEST_F(RVXFileHandleTest, FIFOWithoutItsPeerIsNotWaitedFor) {
  const std::string fifo = mFolder.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_FALSE(RVXFileHandle::openWithoutPeer(fifo, O_WRONLY).isOpen());
  EXPECT_TRUE(RVXFileHandle::openWithoutPeer(fifo, O_RDONLY).isOpen());
}

TEST_F(RVXFileHandleTest, FileThatHasNoPeerIsOpened) {
  EXPECT_TRUE(RVXFileHandle::openWithoutPeer(mFile, O_RDONLY).isOpen());
  EXPECT_FALSE(RVXFileHandle::openWithoutPeer(mFolder.path("missing"), O_RDONLY).isOpen());
}

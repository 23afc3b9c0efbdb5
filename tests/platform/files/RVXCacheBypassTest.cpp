#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "platform/files/RVXCacheBypass.h"
#include "platform/files/RVXFileHandle.h"
#include "tests/platform/files/ResidentPages.h"
#include "tests/support/Files.h"

namespace {

bool isDirect(int descriptor) {
  return (::fcntl(descriptor, F_GETFL) & O_DIRECT) != 0;
}

class RVXCacheBypassTest : public testing::Test {
 protected:
  TemporaryFolder mFolder;
  std::string mFile = writeFile(mFolder.path("file"), patternBytes(1000000));
  RVXFileHandle mHandle = RVXFileHandle::open(mFile, O_RDWR);
  RVXFileHandle mNull = RVXFileHandle::open("/dev/null", O_RDWR);
};

}  // namespace

TEST_F(RVXCacheBypassTest, DirectTransfersAreSwitchedOnAndOff) {
  if (!setDirect(mHandle.descriptor(), true)) GTEST_SKIP() << "refused by this file system";
  EXPECT_TRUE(isDirect(mHandle.descriptor()));
  EXPECT_TRUE(setDirect(mHandle.descriptor(), false));
  EXPECT_FALSE(isDirect(mHandle.descriptor()));
}

TEST_F(RVXCacheBypassTest, DirectTransfersAreRefusedByDevices) {
  EXPECT_FALSE(setDirect(mNull.descriptor(), true));
  EXPECT_FALSE(setDirect(-1, true));
}

TEST_F(RVXCacheBypassTest, SwitchingDirectKeepsTheOtherFlags) {
  const int before = ::fcntl(mHandle.descriptor(), F_GETFL);
  setDirect(mHandle.descriptor(), true);
  EXPECT_EQ(::fcntl(mHandle.descriptor(), F_GETFL) & ~O_DIRECT, before & ~O_DIRECT);
}

TEST_F(RVXCacheBypassTest, AnswersThatRefuseDirectTransfers) {
  for (const int code : {EINVAL, EOPNOTSUPP}) EXPECT_TRUE(refusesDirect(code));
  for (const int code : {EIO, EISDIR, EBADF}) EXPECT_FALSE(refusesDirect(code));
}

TEST_F(RVXCacheBypassTest, WaitingForWriteBackSucceeds) {
  startWriteBack(mHandle.descriptor(), 0, 4096);
  EXPECT_FALSE(waitForWriteBack(mHandle.descriptor(), 0, 4096).has_value());
  EXPECT_FALSE(waitForWriteBack(mHandle.descriptor(), 0, 0).has_value());
}

TEST_F(RVXCacheBypassTest, DevicesHaveNothingToWriteBack) {
  EXPECT_FALSE(waitForWriteBack(mNull.descriptor(), 0, 0).has_value());
}

TEST_F(RVXCacheBypassTest, FailedWriteBackIsAFailure) {
  const auto failure = waitForWriteBack(-1, 0, 0);
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->name, "EBADF");
}

TEST_F(RVXCacheBypassTest, OfWhatIsNotOpenNoRangeCanBeWrittenBack) {
  EXPECT_FALSE(canWriteBackRanges(-1));
  dropCachedFile(-1);  // is harmless
}

TEST_F(RVXCacheBypassTest, DroppedFileLeavesNoPages) {
  if (!hasObservableCache(mFolder.path())) GTEST_SKIP() << "no observable cache";
  ASSERT_GT(residentPages(mFile), 0U);
  const RVXFileHandle readOnly = RVXFileHandle::open(mFile, O_RDONLY);
  dropCachedFile(readOnly.descriptor());
  EXPECT_EQ(residentPages(mFile), 0U);
  EXPECT_TRUE(readFile(mFile) == patternBytes(1000000));
}

TEST_F(RVXCacheBypassTest, DroppedRangeLeavesTheOtherPages) {
  if (!hasObservableCache(mFolder.path())) GTEST_SKIP() << "no observable cache";
  constexpr int64_t kMebibyte = 1024 * 1024;
  writeFile(mFile, patternBytes(8 * kMebibyte));
  ASSERT_FALSE(waitForWriteBack(mHandle.descriptor(), 0, 0).has_value());
  const size_t before = residentPages(mFile);
  dropCachedRange(mHandle.descriptor(), 0, 6 * kMebibyte);
  // The kernel may keep a group of pages that the range only touches, of 2 MiB at most.
  EXPECT_LE(residentPages(mFile), before / 2);
  EXPECT_GE(residentPages(mFile), before / 4);
}

TEST_F(RVXCacheBypassTest, AdviceLeavesErrnoAndTheDescriptorAsTheyWere) {
  for (const int descriptor : {mHandle.descriptor(), mNull.descriptor(), -1}) {
    const int flags = ::fcntl(descriptor, F_GETFL);
    errno = 42;
    adviseSequential(descriptor);
    adviseNoReuse(descriptor);
    EXPECT_EQ(errno, 42);
    EXPECT_EQ(::fcntl(descriptor, F_GETFL), flags);
  }
}

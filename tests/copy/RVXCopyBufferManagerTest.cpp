#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "copy/RVXCopyBufferManager.h"
#include "tests/copy/RVXCopyBufferManagerProbe.h"
#include "tests/support/Waiting.h"

namespace {

using Manager = RVXCopyBufferManager;
using Probe = RVXCopyBufferManagerProbe;

constexpr size_t kCapacity = 4096;

// A block of which every byte tells its number.
RVXBlock blockWith(size_t length, unsigned number = 0) {
  RVXBlock block = RVXBlock::withCapacity(kCapacity);
  std::fill(block.storage().begin(), block.storage().end(), static_cast<std::byte>(number));
  block.setLength(length);
  return block;
}

void addBuffers(Manager& manager, int count, size_t length = 10) {
  for (int i = 0; i < count; ++i) manager.addReadBuffer(blockWith(length));
}

void digestBuffers(Manager& manager, int count) {
  for (int i = 0; i < count; ++i) {
    ASSERT_NE(manager.nextBufferForDigest(), nullptr);
    manager.finishedDigest();
  }
}

void writeBuffers(Manager& manager, int64_t index, int count) {
  for (int i = 0; i < count; ++i) {
    ASSERT_NE(manager.nextBufferForWritingInThread(index), nullptr);
    manager.finishedWritingInThread(index);
  }
}

}  // namespace

TEST(RVXCopyBufferManagerTest, EmptyManagerAcceptsAndHasWrittenNothing) {
  for (const int64_t writers : {int64_t{-1}, int64_t{0}, int64_t{1}, int64_t{8}}) {
    const auto manager = Manager::initWithNumberOfWriterThreads(writers);
    EXPECT_TRUE(manager->willAcceptReadBuffer());
    EXPECT_EQ(manager->bytesWritten(), 0U);
  }
}

TEST(RVXCopyBufferManagerTest, ConditionHasItsName) {
  EXPECT_EQ(Probe::conditionName(*Manager::init()), "RVXCopyBufferManagerCondition");
}

TEST(RVXCopyBufferManagerTest, ManagerMadeByInitHasNoWriters) {
  const auto manager = Manager::init();
  addBuffers(*manager, 1, 7);
  digestBuffers(*manager, 1);
  EXPECT_EQ(manager->bytesWritten(), 7U);
}

TEST(RVXCopyBufferManagerTest, FewerThanOneWriterIsNone) {
  const auto manager = Manager::initWithNumberOfWriterThreads(-3);
  addBuffers(*manager, 1, 7);
  digestBuffers(*manager, 1);
  EXPECT_EQ(manager->bytesWritten(), 7U);
}

TEST(RVXCopyBufferManagerTest, WithoutWritersBuffersAreReleasedByTheDigestAlone) {
  const auto manager = Manager::initWithNumberOfWriterThreads(0);
  addBuffers(*manager, 3, 5);
  for (uint64_t finished = 1; finished <= 3; ++finished) {
    digestBuffers(*manager, 1);
    EXPECT_EQ(manager->bytesWritten(), 5 * finished);
    EXPECT_EQ(Probe::heldBuffers(*manager), 3 - finished);
  }
}

TEST(RVXCopyBufferManagerTest, WithoutWritersOnlyTheDigestLagStopsTheReader) {
  const auto manager = Manager::initWithNumberOfWriterThreads(0);
  addBuffers(*manager, 9);
  EXPECT_FALSE(manager->willAcceptReadBuffer());
  digestBuffers(*manager, 1);
  EXPECT_TRUE(manager->willAcceptReadBuffer());
}

TEST(RVXCopyBufferManagerTest, WriterExactlyEightBehindStillAccepts) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  addBuffers(*manager, 8);
  digestBuffers(*manager, 8);
  EXPECT_TRUE(manager->willAcceptReadBuffer());
}

TEST(RVXCopyBufferManagerTest, WriterNineBehindStopsTheReader) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  addBuffers(*manager, 9);
  digestBuffers(*manager, 9);
  EXPECT_FALSE(manager->willAcceptReadBuffer());
  writeBuffers(*manager, 0, 1);
  EXPECT_TRUE(manager->willAcceptReadBuffer());
}

TEST(RVXCopyBufferManagerTest, DigestExactlyEightBehindStillAccepts) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  addBuffers(*manager, 8);
  writeBuffers(*manager, 0, 8);
  EXPECT_TRUE(manager->willAcceptReadBuffer());
}

TEST(RVXCopyBufferManagerTest, DigestNineBehindStopsTheReader) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  addBuffers(*manager, 9);
  writeBuffers(*manager, 0, 9);
  EXPECT_FALSE(manager->willAcceptReadBuffer());
}

TEST(RVXCopyBufferManagerTest, EachSingleWriterStopsTheReader) {
  for (const int64_t slowest : {0, 1, 2}) {
    const auto manager = Manager::initWithNumberOfWriterThreads(3);
    addBuffers(*manager, 9);
    digestBuffers(*manager, 9);
    for (const int64_t index : {0, 1, 2}) {
      if (index != slowest) writeBuffers(*manager, index, 9);
    }
    EXPECT_FALSE(manager->willAcceptReadBuffer()) << slowest;
    writeBuffers(*manager, slowest, 1);
    EXPECT_TRUE(manager->willAcceptReadBuffer()) << slowest;
  }
}

TEST(RVXCopyBufferManagerTest, ConsumersGetTheBufferThatWasHandedInAndNoCopy) {
  const auto manager = Manager::initWithNumberOfWriterThreads(2);
  RVXBlock block = blockWith(100, 42);
  const std::byte* const memory = block.bytes().data();
  manager->addReadBuffer(std::move(block));
  for (const RVXBlock* const buffer :
       {manager->nextBufferForDigest(), manager->nextBufferForWritingInThread(0),
        manager->nextBufferForWritingInThread(1)}) {
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->bytes().data(), memory);
    EXPECT_EQ(buffer->length(), 100U);
    EXPECT_EQ(buffer->bytes()[99], std::byte{42});
  }
}

TEST(RVXCopyBufferManagerTest, BufferThatIsNotReportedFinishedIsGivenAgain) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  addBuffers(*manager, 2);
  EXPECT_EQ(manager->nextBufferForDigest(), manager->nextBufferForDigest());
  EXPECT_EQ(manager->nextBufferForWritingInThread(0), manager->nextBufferForWritingInThread(0));
}

TEST(RVXCopyBufferManagerTest, BuffersComeInTheOrderInWhichTheyWereHandedIn) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  for (unsigned number = 1; number <= 5; ++number) manager->addReadBuffer(blockWith(1, number));
  for (unsigned number = 1; number <= 5; ++number) {
    EXPECT_EQ(manager->nextBufferForDigest()->bytes()[0], static_cast<std::byte>(number));
    EXPECT_EQ(manager->nextBufferForWritingInThread(0)->bytes()[0], static_cast<std::byte>(number));
    manager->finishedDigest();
    manager->finishedWritingInThread(0);
  }
}

TEST(RVXCopyBufferManagerTest, ZeroLengthFinalBufferIsDeliveredToEveryConsumerAndAddsNothing) {
  const auto manager = Manager::initWithNumberOfWriterThreads(2);
  addBuffers(*manager, 1, 10);
  addBuffers(*manager, 1, 0);
  manager->setFinishedReading();
  digestBuffers(*manager, 1);
  writeBuffers(*manager, 0, 1);
  writeBuffers(*manager, 1, 1);
  EXPECT_EQ(manager->nextBufferForDigest()->length(), 0U);
  digestBuffers(*manager, 1);
  writeBuffers(*manager, 0, 1);
  writeBuffers(*manager, 1, 1);
  EXPECT_EQ(manager->bytesWritten(), 10U);
  EXPECT_EQ(Probe::heldBuffers(*manager), 0U);
  EXPECT_EQ(manager->nextBufferForDigest(), nullptr);
}

TEST(RVXCopyBufferManagerTest, WriterThreeBehindStillReceivesThreeBuffersThenNone) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  addBuffers(*manager, 5);
  writeBuffers(*manager, 0, 2);
  manager->setFinishedReading();
  writeBuffers(*manager, 0, 3);
  EXPECT_EQ(manager->nextBufferForWritingInThread(0), nullptr);
}

TEST(RVXCopyBufferManagerTest, DigestThreeBehindStillReceivesThreeBuffersThenNone) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  addBuffers(*manager, 5);
  digestBuffers(*manager, 2);
  manager->setFinishedReading();
  digestBuffers(*manager, 3);
  EXPECT_EQ(manager->nextBufferForDigest(), nullptr);
}

TEST(RVXCopyBufferManagerTest, RequestsBehindTheEndKeepReturningNone) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  manager->setFinishedReading();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(manager->nextBufferForDigest(), nullptr);
    EXPECT_EQ(manager->nextBufferForWritingInThread(0), nullptr);
  }
}

TEST(RVXCopyBufferManagerTest, BytesWrittenCountsOnlyWhatEveryConsumerHasFinished) {
  const auto manager = Manager::initWithNumberOfWriterThreads(2);
  for (const size_t length : {1000U, 200U, 30U}) manager->addReadBuffer(blockWith(length));
  digestBuffers(*manager, 3);
  writeBuffers(*manager, 0, 2);
  EXPECT_EQ(manager->bytesWritten(), 0U);
  writeBuffers(*manager, 1, 1);
  EXPECT_EQ(manager->bytesWritten(), 1000U);
  writeBuffers(*manager, 1, 2);
  EXPECT_EQ(manager->bytesWritten(), 1200U);
  writeBuffers(*manager, 0, 1);
  EXPECT_EQ(manager->bytesWritten(), 1230U);
}

TEST(RVXCopyBufferManagerTest, BufferOfAllWritersStaysHeldUntilItsDigest) {
  const auto manager = Manager::initWithNumberOfWriterThreads(2);
  addBuffers(*manager, 1, 10);
  writeBuffers(*manager, 0, 1);
  writeBuffers(*manager, 1, 1);
  EXPECT_EQ(Probe::heldBuffers(*manager), 1U);
  EXPECT_EQ(manager->bytesWritten(), 0U);
  digestBuffers(*manager, 1);
  EXPECT_EQ(Probe::heldBuffers(*manager), 0U);
  EXPECT_EQ(manager->bytesWritten(), 10U);
}

TEST(RVXCopyBufferManagerTest, DigestedBufferStaysHeldUntilItsLastWriter) {
  const auto manager = Manager::initWithNumberOfWriterThreads(2);
  addBuffers(*manager, 1, 10);
  digestBuffers(*manager, 1);
  writeBuffers(*manager, 1, 1);
  EXPECT_EQ(Probe::heldBuffers(*manager), 1U);
  writeBuffers(*manager, 0, 1);
  EXPECT_EQ(Probe::heldBuffers(*manager), 0U);
}

TEST(RVXCopyBufferManagerTest, CleanupReleasesNothingThatIsInUse) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  addBuffers(*manager, 3);
  digestBuffers(*manager, 2);
  writeBuffers(*manager, 0, 1);
  manager->cleanupBuffers();
  manager->cleanupBuffers();
  EXPECT_EQ(Probe::heldBuffers(*manager), 2U);
  EXPECT_EQ(manager->bytesWritten(), 10U);
}

TEST(RVXCopyBufferManagerTest, AbortMakesEveryConsumerGetNoneAlthoughBuffersAreThere) {
  const auto manager = Manager::initWithNumberOfWriterThreads(2);
  addBuffers(*manager, 3);
  Probe::abort(*manager);
  EXPECT_EQ(manager->nextBufferForDigest(), nullptr);
  EXPECT_EQ(manager->nextBufferForWritingInThread(0), nullptr);
  EXPECT_EQ(manager->nextBufferForWritingInThread(1), nullptr);
}

TEST(RVXCopyBufferManagerTest, BuffersThatAreLeftGoWithTheManager) {
  const std::byte* memory = nullptr;
  {
    const auto manager = Manager::initWithNumberOfWriterThreads(1);
    addBuffers(*manager, 1);
    memory = manager->nextBufferForDigest()->bytes().data();
  }
  EXPECT_EQ(RVXBlock::withCapacity(kCapacity).storage().data(), memory);
}

// The consumers wait, mostly, before what they wait for comes; the outcome is the same when they don't.
class RVXCopyBufferManagerWaitTest : public testing::Test {
 protected:
  // Starts one thread for the digest and one for each of two writers, all of which ask for one buffer.
  void startConsumers() {
    mThreads.emplace_back([this] { mReceived[0] = mManager->nextBufferForDigest(); });
    for (const size_t index : {0U, 1U}) {
      mThreads.emplace_back([this, index] {
        mReceived[index + 1] = mManager->nextBufferForWritingInThread(static_cast<int64_t>(index));
      });
    }
  }
  // What they received.
  std::array<const RVXBlock*, 3> received() {
    mThreads.clear();
    return mReceived;
  }

  const Deadline mDeadline;
  std::unique_ptr<Manager> mManager = Manager::initWithNumberOfWriterThreads(2);
  RVXBlock mUntouched;
  std::array<const RVXBlock*, 3> mReceived{&mUntouched, &mUntouched, &mUntouched};
  std::vector<std::jthread> mThreads;
};

TEST_F(RVXCopyBufferManagerWaitTest, WaitingConsumersGetABufferThatIsHandedIn) {
  startConsumers();
  mManager->addReadBuffer(blockWith(3, 9));
  for (const RVXBlock* const buffer : received()) {
    ASSERT_NE(buffer, nullptr);
    ASSERT_EQ(buffer->length(), 3U);
    EXPECT_EQ(buffer->bytes()[0], std::byte{9});
  }
}

TEST_F(RVXCopyBufferManagerWaitTest, FinishedReadingWakesAllWaitingConsumers) {
  startConsumers();
  mManager->setFinishedReading();
  for (const RVXBlock* const buffer : received()) EXPECT_EQ(buffer, nullptr);
}

TEST_F(RVXCopyBufferManagerWaitTest, AbortWakesAllWaitingConsumers) {
  startConsumers();
  Probe::abort(*mManager);
  for (const RVXBlock* const buffer : received()) EXPECT_EQ(buffer, nullptr);
}

// A whole stream of buffers with a thread for each part, for every number of writers.
class RVXCopyBufferManagerStreamTest : public testing::TestWithParam<int64_t> {
 protected:
  static constexpr unsigned kBuffers = 250;  // fewer than a byte has values

  static size_t lengthOf(unsigned number) { return number * 37 % (kCapacity + 1); }

  void read() {
    for (unsigned number = 1; number <= kBuffers; ++number) {
      while (!mManager->willAcceptReadBuffer()) std::this_thread::yield();
      mManager->addReadBuffer(blockWith(lengthOf(number), number));
      mLargestLag = std::max(mLargestLag, Probe::largestLag(*mManager));
      mMostHeld = std::max(mMostHeld, Probe::heldBuffers(*mManager));
    }
    mManager->setFinishedReading();
  }

  // Takes every buffer and looks at all of its bytes: memory that was released too early would be the
  // reader's again.
  template <typename Next, typename Finished>
  void consume(Next next, Finished finished) {
    unsigned number = 0;
    while (const RVXBlock* const buffer = next()) {
      ++number;
      const auto isOfBuffer = [&](std::byte byte) { return byte == static_cast<std::byte>(number); };
      const auto bytes = buffer->bytes();
      if (bytes.size() != lengthOf(number) || !std::all_of(bytes.begin(), bytes.end(), isOfBuffer)) {
        ++mWrongBuffers;
      }
      finished();
    }
    if (number != kBuffers) ++mIncompleteConsumers;
  }

  void run() {
    std::vector<std::jthread> threads;
    threads.emplace_back([this] { read(); });
    threads.emplace_back([this] {
      consume([this] { return mManager->nextBufferForDigest(); }, [this] { mManager->finishedDigest(); });
    });
    for (int64_t index = 0; index < GetParam(); ++index) {
      threads.emplace_back([this, index] {
        consume([=, this] { return mManager->nextBufferForWritingInThread(index); },
                [=, this] { mManager->finishedWritingInThread(index); });
      });
    }
  }

  const Deadline mDeadline;
  std::unique_ptr<Manager> mManager = Manager::initWithNumberOfWriterThreads(GetParam());
  int64_t mLargestLag = 0;
  size_t mMostHeld = 0;
  std::atomic<int> mWrongBuffers{0};
  std::atomic<int> mIncompleteConsumers{0};
};

TEST_P(RVXCopyBufferManagerStreamTest, EveryConsumerSeesEveryBufferOnceAndInOrder) {
  run();
  EXPECT_EQ(mWrongBuffers, 0);
  EXPECT_EQ(mIncompleteConsumers, 0);
}

TEST_P(RVXCopyBufferManagerStreamTest, AtMostNineBuffersAreUnfinishedAndAllAreReleasedAtTheEnd) {
  run();
  uint64_t allBytes = 0;
  for (unsigned number = 1; number <= kBuffers; ++number) allBytes += lengthOf(number);
  EXPECT_LE(mLargestLag, 9);
  // A consumer counts a buffer as finished a moment before it releases it.
  EXPECT_LE(mMostHeld, 10U);
  EXPECT_EQ(Probe::heldBuffers(*mManager), 0U);
  EXPECT_EQ(mManager->bytesWritten(), allBytes);
}

INSTANTIATE_TEST_SUITE_P(Writers, RVXCopyBufferManagerStreamTest, testing::Range(int64_t{0}, int64_t{9}),
                         [](const auto& test) { return std::to_string(test.param); });

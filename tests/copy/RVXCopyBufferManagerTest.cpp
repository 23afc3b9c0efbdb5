#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <thread>
#include <vector>

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

// What the tests of all states and of schedules can't meet.

TEST(RVXCopyBufferManagerTest, FewerThanOneWriterIsNone) {
  for (const auto& manager : {Manager::init(), Manager::initWithNumberOfWriterThreads(-3)}) {
    addBuffers(*manager, 1, 7);
    digestBuffers(*manager, 1);
    EXPECT_EQ(manager->bytesWritten(), 7U);
  }
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

TEST(RVXCopyBufferManagerTest, BufferThatIsNotReportedFinishedIsGivenAgain) {
  const auto manager = Manager::initWithNumberOfWriterThreads(1);
  addBuffers(*manager, 2);
  EXPECT_EQ(manager->nextBufferForDigest(), manager->nextBufferForDigest());
  EXPECT_EQ(manager->nextBufferForWritingInThread(0), manager->nextBufferForWritingInThread(0));
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

TEST(RVXCopyBufferManagerTest, AbortWakesAllWaitingConsumers) {
  const Deadline deadline;
  const auto manager = Manager::initWithNumberOfWriterThreads(2);
  const RVXBlock untouched;
  std::array<const RVXBlock*, 3> received{&untouched, &untouched, &untouched};
  {
    // They wait, mostly, before the abort comes; the outcome is the same when they don't.
    std::vector<std::jthread> threads;
    threads.emplace_back([&] { received[0] = manager->nextBufferForDigest(); });
    for (const size_t index : {0U, 1U}) {
      threads.emplace_back([&, index] {
        received[index + 1] = manager->nextBufferForWritingInThread(static_cast<int64_t>(index));
      });
    }
    Probe::abort(*manager);
  }
  for (const RVXBlock* const buffer : received) EXPECT_EQ(buffer, nullptr);
}

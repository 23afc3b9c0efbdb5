#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <numeric>
#include <optional>
#include <thread>
#include <vector>

#include "copy/RVXCopyBufferManager.h"
#include "tests/copy/RVXCopyBufferManagerInvariants.h"
#include "tests/support/Schedules.h"

namespace {

using Manager = RVXCopyBufferManager;
using Probe = RVXCopyBufferManagerProbe;

constexpr size_t kCapacity = 4096;
constexpr auto kPollInterval = std::chrono::microseconds(20);
constexpr uint64_t kSchedules = 250;  // for each number of writers

// One run through a manager, with a thread for each part.
class Schedule {
 public:
  Schedule(uint64_t seed, int64_t writers)
      : mSeed(seed), mWriters(writers), mNumbers(seed * kMostWriters + static_cast<uint64_t>(writers)) {
    const size_t count = mNumbers.oneOf(std::array<size_t, 9>{1, 2, 3, 8, 9, 10, 11, 12, 30});
    for (size_t i = 0; i < count; ++i) {
      mLengths.push_back(mNumbers.oneOf(
          std::array{size_t{0}, size_t{1}, kCapacity - 1, kCapacity, mNumbers.below(kCapacity + 1)}));
    }
    // Whoever looks takes locks, which orders what would else be unordered: some runs are left alone.
    mIsWatched = mNumbers.oneIn(2);
    mReleasesFirst = mNumbers.oneIn(2);
    mIsDisturbed = mNumbers.oneIn(2);
  }

  void run() {
    std::optional<Disturber> disturber;
    if (mIsDisturbed) disturber.emplace(mSeed);
    std::vector<std::jthread> threads;
    threads.emplace_back([this] { read(); });
    threads.emplace_back([this] { digest(); });
    for (int64_t index = 0; index < mWriters; ++index) {
      threads.emplace_back([this, index] { write(index); });
    }
    waitForAllBytes();
    {
      const Disturber::Exemption exemption;
      threads.clear();
    }
    EXPECT_EQ(mCompleteConsumers, mWriters + 1);
    const Probe::State end = Probe::state(*mManager);
    expectInvariants(end, mLengths);
    EXPECT_TRUE(end.held.empty());
    EXPECT_EQ(mManager->bytesWritten(), std::accumulate(mLengths.begin(), mLengths.end(), size_t{0}));
  }

 private:
  void read() {
    Pauses pauses(mSeed, 0);
    for (size_t number = 1; number <= mLengths.size() && !mHasFailed; ++number) {
      waitUntilAccepted();
      pauses.pause();
      if (mReleasesFirst) mManager->cleanupBuffers();
      if (mIsWatched) expectRoomForOneMore();
      mManager->addReadBuffer(bufferOf(number));
      look();
      pauses.pause();
    }
    mManager->setFinishedReading();
    look();
  }

  void waitUntilAccepted() {
    while (!mHasFailed) {
      // Consumers only come nearer: who lags too far now may no longer do so when the reader asks, but not
      // the other way round.
      const bool mustAccept = mIsWatched && lag() <= kMostLagToGoOn;
      if (mManager->willAcceptReadBuffer()) break;
      if (mustAccept) fail("The reader was stopped although nobody was too far behind.");
      std::this_thread::sleep_for(kPollInterval);
    }
    if (mIsWatched && lag() > kMostLagToGoOn) fail("The reader was let go on too far.");
  }

  void expectRoomForOneMore() {
    const size_t mostHeld = mReleasesFirst ? kMostHeldByReleasingReader : kMostHeld;
    EXPECT_LT(Probe::state(*mManager).held.size(), mostHeld);
  }

  void digest() {
    consume(
        1, [this] { return mManager->nextBufferForDigest(); }, [this] { mManager->finishedDigest(); });
  }

  void write(int64_t index) {
    consume(
        static_cast<size_t>(index) + 2, [=, this] { return mManager->nextBufferForWritingInThread(index); },
        [=, this] { mManager->finishedWritingInThread(index); });
  }

  template <typename Next, typename Finished>
  void consume(size_t thread, Next next, Finished finished) {
    Pauses pauses(mSeed, thread);
    size_t number = 0;
    while (const RVXBlock* const buffer = next()) {
      ++number;
      look();
      if (!isBuffer(*buffer, number)) return fail("A consumer got a wrong buffer.");
      pauses.pause();
      // Memory that was released meanwhile would be the reader's again.
      if (!isBuffer(*buffer, number)) return fail("A consumer's buffer has changed under its hands.");
      finished();
      look();
      pauses.pause();
    }
    if (number != mLengths.size()) return fail("A consumer got the end too early.");
    if (next() != nullptr) return fail("A consumer got a buffer after the end.");
    ++mCompleteConsumers;
  }

  // The owner's part.
  void waitForAllBytes() {
    const uint64_t allBytes = std::accumulate(mLengths.begin(), mLengths.end(), size_t{0});
    uint64_t before = 0;
    while (before != allBytes && !mHasFailed) {
      const uint64_t now = mManager->bytesWritten();
      if (now < before || now > allBytes) fail("The bytes written are miscounted.");
      before = now;
      std::this_thread::sleep_for(kPollInterval);
    }
  }

  // A buffer of which every byte tells its number.
  [[nodiscard]] RVXBlock bufferOf(size_t number) const {
    RVXBlock block = RVXBlock::withCapacity(kCapacity);
    std::fill(block.storage().begin(), block.storage().end(), static_cast<std::byte>(number));
    block.setLength(mLengths[number - 1]);
    return block;
  }

  [[nodiscard]] bool isBuffer(const RVXBlock& buffer, size_t number) const {
    const auto tellsNumber = [&](std::byte byte) { return byte == static_cast<std::byte>(number); };
    return number <= mLengths.size() && buffer.length() == mLengths[number - 1] &&
           std::all_of(buffer.bytes().begin(), buffer.bytes().end(), tellsNumber);
  }

  void look() {
    if (!mIsWatched) return;
    expectInvariants(Probe::state(*mManager), mLengths);
    if (testing::Test::HasFailure()) mHasFailed = true;
  }

  [[nodiscard]] int64_t lag() const {
    const Probe::State state = Probe::state(*mManager);
    return state.readCount - state.slowestCount;
  }

  // The other threads don't wait for what may never come.
  void fail(const char* reason) {
    ADD_FAILURE() << reason;
    mHasFailed = true;
  }

  static constexpr uint64_t kMostWriters = 10;

  const uint64_t mSeed;
  const int64_t mWriters;
  SeededNumbers mNumbers;
  std::vector<size_t> mLengths;
  bool mIsWatched = false;
  bool mReleasesFirst = false;
  bool mIsDisturbed = false;
  std::unique_ptr<Manager> mManager = Manager::initWithNumberOfWriterThreads(mWriters);
  std::atomic<bool> mHasFailed{false};
  std::atomic<int64_t> mCompleteConsumers{0};
};

class RVXCopyBufferManagerSchedulesTest : public testing::TestWithParam<int64_t> {};

}  // namespace

TEST_P(RVXCopyBufferManagerSchedulesTest, EveryScheduleKeepsTheInvariantsAndEnds) {
  runSchedules(kSchedules, [](uint64_t seed) { Schedule(seed, GetParam()).run(); });
}

INSTANTIATE_TEST_SUITE_P(Writers, RVXCopyBufferManagerSchedulesTest, testing::Range(int64_t{0}, int64_t{9}),
                         [](const auto& test) { return std::to_string(test.param); });

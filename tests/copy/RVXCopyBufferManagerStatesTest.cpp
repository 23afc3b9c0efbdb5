#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <numeric>
#include <ostream>
#include <set>
#include <vector>

#include "copy/RVXCopyBufferManager.h"
#include "tests/copy/RVXCopyBufferManagerInvariants.h"
#include "tests/support/Waiting.h"

// Every state that a manager can reach with few buffers, and from each of them every step that does not
// block: no order of these steps is left out. One thread does them all.
namespace {

using Manager = RVXCopyBufferManager;
using Probe = RVXCopyBufferManagerProbe;

struct Setting {
  int64_t writers;
  int32_t buffers;
  bool readerReleasesFirst;
  size_t mostBuffers;  // that ever exist at once, the one that the reader fills included
};

void PrintTo(const Setting& setting, std::ostream* output) {
  *output << setting.writers << "WritersAnd" << setting.buffers << "Buffers"
          << (setting.readerReleasesFirst ? "ReaderReleasesFirst" : "");
}

// What a part of the copy did last.
enum class Phase { asked, mayFill, fills, handedIn, ended, waits, holds, counted };

// A manager, and beside it what it should be: the counts by arithmetic.
class Copy {
 public:
  explicit Copy(const Setting& setting)
      : mSetting(setting),
        mManager(Manager::initWithNumberOfWriterThreads(setting.writers)),
        mCounts(static_cast<size_t>(setting.writers) + 1, 0),
        mPhases(mCounts.size(), Phase::waits) {}

  // The parts are the reader, the digest and the writers. Each has at most one next step.
  [[nodiscard]] size_t parts() const { return mCounts.size() + 1; }

  [[nodiscard]] bool canStep(size_t part) const {
    if (part == 0) return mReader != Phase::ended && (mReader != Phase::handedIn || isLast() || accepts());
    const Phase phase = mPhases[part - 1];
    const bool wouldBlock = mCounts[part - 1] == mReadCount && mReader != Phase::ended;
    return phase != Phase::ended && !(phase == Phase::waits && wouldBlock);
  }

  void step(size_t part) { part == 0 ? stepReader() : stepConsumer(part - 1); }

  void expectAsItShouldBe() {
    const Probe::State state = Probe::state(*mManager);
    expectInvariants(state, lengths());
    EXPECT_EQ(state.readCount, mReadCount);
    EXPECT_EQ(state.slowestCount, slowest());
    EXPECT_EQ(state.held.size(), static_cast<size_t>(mReadCount - mReleased));
    EXPECT_EQ(mManager->bytesWritten(), state.bytesWritten);
    EXPECT_EQ(mManager->willAcceptReadBuffer(), accepts());
  }

  [[nodiscard]] size_t existingBuffers() const {
    return static_cast<size_t>(mReadCount - mReleased) + (mReader == Phase::fills ? 1 : 0);
  }

  [[nodiscard]] bool hasEnded() const {
    return mReader == Phase::ended &&
           std::all_of(mPhases.begin(), mPhases.end(), [](Phase phase) { return phase == Phase::ended; }) &&
           mReleased == mSetting.buffers;
  }

  // Tells two states apart.
  [[nodiscard]] std::vector<int32_t> state() const {
    std::vector<int32_t> state{mReadCount, mReleased, static_cast<int32_t>(mReader)};
    for (size_t i = 0; i < mCounts.size(); ++i) {
      state.push_back(mCounts[i]);
      state.push_back(static_cast<int32_t>(mPhases[i]));
    }
    return state;
  }

 private:
  static constexpr size_t kCapacity = 4096;

  // Buffer k has k bytes: its length tells which one it is.
  [[nodiscard]] std::vector<size_t> lengths() const {
    std::vector<size_t> lengths(static_cast<size_t>(mSetting.buffers));
    std::iota(lengths.begin(), lengths.end(), size_t{1});
    return lengths;
  }

  [[nodiscard]] bool isLast() const { return mReadCount == mSetting.buffers; }
  [[nodiscard]] int32_t slowest() const { return *std::min_element(mCounts.begin(), mCounts.end()); }
  [[nodiscard]] bool accepts() const { return mReadCount - slowest() <= kMostLagToGoOn; }

  void stepReader() {
    switch (mReader) {
      case Phase::handedIn:
        mReader = isLast() ? Phase::ended : mSetting.readerReleasesFirst ? Phase::mayFill : Phase::fills;
        if (isLast()) mManager->setFinishedReading();
        break;
      case Phase::mayFill:
        release();
        mReader = Phase::fills;
        break;
      default:
        ++mReadCount;
        RVXBlock block = RVXBlock::withCapacity(kCapacity);
        block.setLength(static_cast<size_t>(mReadCount));
        mManager->addReadBuffer(std::move(block));
        mReader = Phase::handedIn;
    }
  }

  void stepConsumer(size_t consumer) {
    Phase& phase = mPhases[consumer];
    switch (phase) {
      case Phase::waits:
        phase = take(consumer) ? Phase::holds : Phase::ended;
        break;
      case Phase::holds:
        consumer == 0 ? Probe::countDigest(*mManager) : Probe::countWriting(*mManager, consumer - 1);
        ++mCounts[consumer];
        phase = Phase::counted;
        break;
      default:
        release();
        phase = Phase::waits;
    }
  }

  // False at the end of the stream.
  bool take(size_t consumer) {
    const RVXBlock* const buffer =
        consumer == 0 ? mManager->nextBufferForDigest()
                      : mManager->nextBufferForWritingInThread(static_cast<int64_t>(consumer) - 1);
    const int32_t wanted = mCounts[consumer] + 1;
    const size_t length = wanted <= mReadCount ? static_cast<size_t>(wanted) : 0;
    EXPECT_EQ(buffer == nullptr ? 0 : buffer->length(), length);
    return buffer != nullptr;
  }

  void release() {
    mManager->cleanupBuffers();
    mReleased = slowest();
  }

  const Setting& mSetting;
  std::unique_ptr<Manager> mManager;
  int32_t mReadCount = 0;
  int32_t mReleased = 0;
  Phase mReader = Phase::handedIn;
  std::vector<int32_t> mCounts;  // of the digest, then of the writers
  std::vector<Phase> mPhases;    // likewise
};

class RVXCopyBufferManagerStatesTest : public testing::TestWithParam<Setting> {
 protected:
  using Path = std::vector<size_t>;  // the parts that made the steps

  // Goes on from the state at the end of a path in every possible way.
  void goOnFrom(const Path& path) {
    bool isLast = true;
    for (size_t part = 0; part <= static_cast<size_t>(GetParam().writers) + 1; ++part) {
      Copy copy(GetParam());
      for (const size_t earlier : path) copy.step(earlier);
      if (!copy.canStep(part)) continue;
      isLast = false;
      copy.step(part);
      copy.expectAsItShouldBe();
      mMostBuffers = std::max(mMostBuffers, copy.existingBuffers());
      if (!mStates.insert(copy.state()).second) continue;
      mPaths.push_back(path);
      mPaths.back().push_back(part);
      mEnds += copy.hasEnded() ? 1 : 0;
    }
    mLastStates += isLast ? 1 : 0;
  }

  const Deadline mDeadline;
  std::deque<Path> mPaths{{}};
  std::set<std::vector<int32_t>> mStates;
  size_t mMostBuffers = 0;
  int mLastStates = 0;
  int mEnds = 0;
};

}  // namespace

TEST_P(RVXCopyBufferManagerStatesTest, EveryStepFromEveryStateIsRight) {
  while (!mPaths.empty()) {
    goOnFrom(mPaths.front());
    ASSERT_FALSE(HasFailure()) << "After the steps " << testing::PrintToString(mPaths.front());
    mPaths.pop_front();
  }
  EXPECT_EQ(mMostBuffers, GetParam().mostBuffers);
  // Whatever was done before, it comes to the one end at which all have ended and nothing is held.
  EXPECT_EQ(mLastStates, 1);
  EXPECT_EQ(mEnds, 1);
}

INSTANTIATE_TEST_SUITE_P(Settings, RVXCopyBufferManagerStatesTest,
                         testing::Values(Setting{0, 12, false, kMostHeld},
                                         Setting{0, 12, true, kMostHeldByReleasingReader},
                                         Setting{1, 11, false, kMostHeld},
                                         Setting{1, 11, true, kMostHeldByReleasingReader},
                                         Setting{2, 4, false, 4}),
                         [](const auto& test) { return testing::PrintToString(test.param); });

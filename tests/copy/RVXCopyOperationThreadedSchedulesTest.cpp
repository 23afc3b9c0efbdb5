#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "copy/RVXCopyOperationThreaded.h"
#include "tests/copy/RVXCopyBufferManagerInvariants.h"
#include "tests/copy/RVXCopyOperationThreadedProbe.h"
#include "tests/support/Files.h"
#include "tests/support/Schedules.h"
#include "tests/support/Tools.h"

namespace {

using Operation = RVXCopyOperationThreaded;
using Probe = RVXCopyOperationThreadedProbe;

constexpr uint64_t kSchedules = 25;  // for each number of destinations
constexpr size_t kBlock = size_t{2} * 1024 * 1024;
constexpr size_t kMostBlocks = 12;
constexpr const char* kMemory = "/dev/shm";
constexpr auto kBetweenLooks = std::chrono::microseconds(100);

// The contents of the longest source; shorter ones are its beginning.
std::string_view contents(size_t size) {
  static const std::string bytes = patternBytes(kMostBlocks * kBlock);
  return std::string_view(bytes).substr(0, size);
}

// A destination that takes what it is given bit by bit, with pauses: a FIFO with a thread behind it.
class SlowDestination {
 public:
  SlowDestination(const std::string& path, uint64_t seed, size_t number) : mPauses(seed, number) {
    ::mkfifo(path.c_str(), 0600);
    mDescriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ::fcntl(mDescriptor, F_SETPIPE_SZ, kPiece);
    mThread = std::jthread([this] { receive(); });
  }

  // Whether all that was received is the source, once the writer has closed.
  [[nodiscard]] bool hasReceived(size_t size) {
    mThread.join();
    ::close(mDescriptor);
    return mIsRight && mReceived == size;
  }

 private:
  static constexpr int kPiece = 512 * 1024;

  void receive() {
    // Without O_NONBLOCK the open would wait, and without poll() a read before the first writer sees the end.
    pollfd ready{mDescriptor, POLLIN, 0};
    while (::poll(&ready, 1, -1) != 1) continue;
    ::fcntl(mDescriptor, F_SETFL, 0);
    std::string piece(kPiece, '\0');
    while (const ssize_t length = ::read(mDescriptor, piece.data(), piece.size())) {
      if (length < 0) continue;
      const std::string_view bytes(piece.data(), static_cast<size_t>(length));
      mIsRight = mIsRight && mReceived <= kMostBlocks * kBlock &&
                 bytes == contents(kMostBlocks * kBlock).substr(mReceived, bytes.size());
      mReceived += bytes.size();
      mPauses.pause();
    }
  }

  Pauses mPauses;
  int mDescriptor = -1;
  size_t mReceived = 0;
  bool mIsRight = true;
  std::jthread mThread;
};

// One copy with everything around it that the seed decides.
class Schedule {
 public:
  Schedule(uint64_t seed, size_t destinations)
      : mSeed(seed), mNumbers(seed * kMostDestinations + destinations) {
    const auto fewBlocks = std::array{size_t{0}, size_t{1}, kBlock - 1, kBlock, kBlock + 1, 2 * kBlock};
    const auto manyBlocks =
        std::array{8 * kBlock - 1, 8 * kBlock,      9 * kBlock - 1,  9 * kBlock,
                   9 * kBlock + 1, 10 * kBlock + 1, 12 * kBlock - 1, kMostBlocks * kBlock};
    mSize = mNumbers.oneIn(3) ? mNumbers.oneOf(manyBlocks) : mNumbers.oneOf(fewBlocks);
    mIsWatched = mNumbers.oneIn(2);
    mIsDisturbed = mNumbers.oneIn(2);
    mSkipsVerification = mNumbers.oneIn(3);
    mAlgorithm = mNumbers.oneIn(2) ? HashAlgorithm::MD5 : HashAlgorithm::SHA1;
    writeFile(mSource, std::string(contents(mSize)));
    for (size_t i = 0; i < destinations; ++i) addDestination();
  }

  void run() {
    const auto operation = Operation::initWithSourcePath(mSource, mFolders, mNames, true, mSkipsVerification);
    operation->setAlgorithm(mAlgorithm);
    {
      std::optional<Disturber> disturber;
      if (mIsDisturbed) disturber.emplace(mSeed);
      mIsWatched ? runWatched(*operation) : operation->main();
      operation->takeCopies().clear();  // closes them
    }
    EXPECT_FALSE(operation->isFailed());
    EXPECT_TRUE(Probe::allThreadsFinished(*operation));
    EXPECT_EQ(operation->hash(), expectedHash());
    for (const std::string& file : mFiles) EXPECT_TRUE(readFile(file) == contents(mSize)) << file;
    for (SlowDestination& destination : mSlowDestinations) EXPECT_TRUE(destination.hasReceived(mSize));
  }

 private:
  void addDestination() {
    const std::string name = std::to_string(mNames.size());
    const size_t kind = mNumbers.below(4);
    if (kind == 0) mFiles.push_back(mFolder.path(name));
    if (kind == 1) mSlowDestinations.emplace_back(mFolder.path(name), mSeed, mNames.size());
    mFolders.push_back(kind < 2 ? mFolder.path() : "/dev/null/");
    mNames.push_back(name);
  }

  void runWatched(Operation& operation) {
    RVXCopyBufferManager& manager = Probe::start(operation, mFolders.size());
    uint64_t before = 0;
    while (!Probe::allThreadsFinished(operation)) {
      const auto state = RVXCopyBufferManagerProbe::state(manager);
      expectInvariants(state, lengths());
      EXPECT_LE(state.held.size(), kMostHeldByReleasingReader);
      EXPECT_GE(state.bytesWritten, before);
      before = state.bytesWritten;
      std::this_thread::sleep_for(kBetweenLooks);
    }
    EXPECT_EQ(manager.bytesWritten(), mSize);
    EXPECT_TRUE(RVXCopyBufferManagerProbe::state(manager).held.empty());
  }

  // Of the blocks that the reader hands in: the last one is not full, and may be empty.
  [[nodiscard]] std::vector<size_t> lengths() const {
    std::vector<size_t> lengths(mSize / kBlock, kBlock);
    lengths.push_back(mSize % kBlock);
    return lengths;
  }

  [[nodiscard]] std::optional<std::string> expectedHash() const {
    if (mSkipsVerification) return std::nullopt;
    static std::map<std::pair<size_t, HashAlgorithm>, std::string> known;
    std::string& hash = known[{mSize, mAlgorithm}];
    if (hash.empty())
      hash = mAlgorithm == HashAlgorithm::MD5 ? toolMD5OfFile(mSource) : toolSHA1OfFile(mSource);
    return hash;
  }

  static constexpr uint64_t kMostDestinations = 10;

  const uint64_t mSeed;
  SeededNumbers mNumbers;
  size_t mSize = 0;
  bool mIsWatched = false;
  bool mIsDisturbed = false;
  bool mSkipsVerification = false;
  HashAlgorithm mAlgorithm = HashAlgorithm::SHA1;
  const TemporaryFolder mFolder{kMemory};
  const std::string mSource = mFolder.path("source");
  std::vector<std::string> mFolders;
  std::vector<std::string> mNames;
  std::vector<std::string> mFiles;
  std::deque<SlowDestination> mSlowDestinations;
};

class RVXCopyOperationThreadedSchedulesTest : public testing::TestWithParam<size_t> {};

}  // namespace

TEST_P(RVXCopyOperationThreadedSchedulesTest, EveryScheduleCopiesEveryByteAndEnds) {
  runSchedules(kSchedules, [](uint64_t seed) { Schedule(seed, GetParam()).run(); });
}

INSTANTIATE_TEST_SUITE_P(Destinations, RVXCopyOperationThreadedSchedulesTest,
                         testing::Range(size_t{0}, size_t{9}),
                         [](const auto& test) { return std::to_string(test.param); });

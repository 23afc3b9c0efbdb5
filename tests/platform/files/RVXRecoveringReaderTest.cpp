#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <vector>

#include "platform/files/FileSystem.h"
#include "platform/files/RVXRecoveringReader.h"
#include "tests/support/Files.h"
#include "tests/support/Outcomes.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kCapacity = 4096;

// Notes what it is told; what happens to the file between the two tries is the test's to say.
class RecordingRecovery : public RVXReadRecovery {
 public:
  void readFailed(const RVXIOFailure& failure, int64_t position) override {
    events.push_back("failed " + failure.name + " at " + std::to_string(position));
    betweenTheTries();
  }
  void reopenFailed() override { events.emplace_back("not opened again"); }
  void readFailedAgain(const RVXIOFailure& firstFailure) override {
    events.push_back("failed again, first " + firstFailure.name);
  }

  std::vector<std::string> events;
  std::function<void()> betweenTheTries = [] {};
};

class RVXRecoveringReaderTest : public testing::Test {
 protected:
  RVXRecoveringReader open() const {
    auto reader = RVXRecoveringReader::openForReading(mPath).value();
    reader.bypassCacheAndReadAhead();
    return reader;
  }

  std::string read(RVXRecoveringReader& reader) {
    reader.read(mBlock, mRecovery);
    return {reinterpret_cast<const char*>(mBlock.bytes().data()), mBlock.length()};
  }

  // A path that opens and refuses every read: a folder.
  void makeUnreadable() const {
    fs::remove(mPath);
    fs::create_directory(mPath);
  }

  void makeReadable(const std::string& bytes) const {
    fs::remove(mPath);
    writeFile(mPath, bytes);
  }

  TemporaryFolder mFolder;
  std::string mPath = mFolder.path("source");
  RecordingRecovery mRecovery;
  RVXBlock mBlock = RVXBlock::withCapacity(kCapacity);
};

}  // namespace

TEST_F(RVXRecoveringReaderTest, MissingFileIsNotOpened) {
  EXPECT_EQ(failureOf(RVXRecoveringReader::openForReading(mPath)), "ENOENT");
}

TEST_F(RVXRecoveringReaderTest, UndisturbedReadTellsNothing) {
  const std::string bytes = patternBytes(3 * kCapacity + 5);
  makeReadable(bytes);
  auto reader = open();
  std::string all;
  while (true) {
    all += read(reader);
    if (mBlock.length() != kCapacity) break;
  }
  EXPECT_TRUE(all == bytes);
  EXPECT_TRUE(mRecovery.events.empty());
}

TEST_F(RVXRecoveringReaderTest, FailedBlockIsReadFromTheFileThatIsOpenedAgainAndReadingGoesOn) {
  const std::string bytes = patternBytes(2 * kCapacity + 5);
  makeUnreadable();
  auto reader = open();
  mRecovery.betweenTheTries = [&] { makeReadable(bytes); };
  const std::string first = read(reader);
  const std::string second = read(reader);
  EXPECT_TRUE(first + second + read(reader) == bytes);
  EXPECT_EQ(mRecovery.events, std::vector<std::string>{"failed EISDIR at 0"});
}

TEST_F(RVXRecoveringReaderTest, FileThatCantBeOpenedAgainCountsAsEnded) {
  makeUnreadable();
  auto reader = open();
  mRecovery.betweenTheTries = [this] { fs::remove(mPath); };
  EXPECT_EQ(read(reader), "");
  EXPECT_EQ(mRecovery.events, (std::vector<std::string>{"failed EISDIR at 0", "not opened again"}));
  EXPECT_EQ(read(reader), "");
  EXPECT_EQ(mRecovery.events.size(), 2U);
}

TEST_F(RVXRecoveringReaderTest, SecondFailureIsToldWithTheFirst) {
  makeUnreadable();
  auto reader = open();
  read(reader);
  EXPECT_EQ(mRecovery.events, (std::vector<std::string>{"failed EISDIR at 0", "failed again, first EISDIR"}));
}

TEST_F(RVXRecoveringReaderTest, IdentityIsThatOfTheOpenFile) {
  makeReadable("abc");
  const auto identity = attributesOfItem(mPath).value().identity;
  auto reader = open();
  EXPECT_EQ(reader.identity(), identity);
  EXPECT_TRUE(reader.isRegularFile());
  reader.close();
  EXPECT_FALSE(reader.identity().has_value());
  EXPECT_FALSE(reader.isRegularFile());
}

TEST_F(RVXRecoveringReaderTest, ClosedReaderGivesNothing) {
  makeReadable("abc");
  auto reader = open();
  EXPECT_EQ(read(reader), "abc");
  reader.close();
  reader.bypassCacheAndReadAhead();
  EXPECT_EQ(read(reader), "");
  EXPECT_TRUE(mRecovery.events.empty());
}

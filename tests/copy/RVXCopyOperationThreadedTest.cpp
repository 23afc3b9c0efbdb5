#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <thread>

#include "copy/RVXCopyOperationThreaded.h"
#include "tests/copy/RVXCopyBufferManagerProbe.h"
#include "tests/copy/RVXCopyOperationThreadedProbe.h"
#include "tests/support/Files.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Text.h"
#include "tests/support/Tools.h"
#include "tests/support/Waiting.h"

// What a copy prints, ends with and leaves behind, the process tests show.

namespace {

namespace fs = std::filesystem;
using Operation = RVXCopyOperationThreaded;
using Probe = RVXCopyOperationThreadedProbe;

constexpr size_t kBlock = size_t{2} * 1024 * 1024;
constexpr auto kOtherAlgorithm = static_cast<HashAlgorithm>(2);

class RVXCopyOperationThreadedTest : public testing::Test {
 protected:
  // A copy from `mSource` under the name "copy" into each of the folders.
  [[nodiscard]] std::unique_ptr<Operation> operationTo(std::vector<std::string> folders,
                                                       bool force = false) const {
    std::vector<std::string> names(folders.size(), "copy");
    return Operation::initWithSourcePath(mSource, std::move(folders), std::move(names), force, false);
  }

  // The same, run with that algorithm.
  [[nodiscard]] std::unique_ptr<Operation> copyTo(std::vector<std::string> folders,
                                                  HashAlgorithm algorithm = HashAlgorithm::SHA1) const {
    auto operation = operationTo(std::move(folders));
    operation->setAlgorithm(algorithm);
    operation->main();
    return operation;
  }

  static void expectDone(const Operation& operation) {
    EXPECT_FALSE(operation.isFailed());
    EXPECT_FALSE(operation.error().has_value());
  }

  const Deadline mDeadline;
  TemporaryFolder mFolder;
  std::string mSource = mFolder.path("source");
  std::string mD1 = mFolder.folder("d1");
};

}  // namespace

TEST_F(RVXCopyOperationThreadedTest, PropertiesKeepWhatTheyAreGiven) {
  writeFile(mSource, "movie");
  const auto operation = operationTo({mD1});
  EXPECT_FALSE(operation->verbose());
  EXPECT_EQ(operation->algorithm(), HashAlgorithm::SHA1);
  EXPECT_EQ(operation->fileSize(), 0);
  EXPECT_EQ(operation->allFilesSize(), 0);
  EXPECT_EQ(operation->sizeOfAllFilesProcessed(), 0);
  EXPECT_FALSE(operation->hash().has_value());
  expectDone(*operation);
  operation->setAlgorithm(HashAlgorithm::MD5);
  operation->setAllFilesSize(int64_t{1} << 40);
  operation->setSizeOfAllFilesProcessed(int64_t{1} << 39);
  operation->main();
  EXPECT_EQ(operation->algorithm(), HashAlgorithm::MD5);
  EXPECT_EQ(operation->fileSize(), 5);
  EXPECT_EQ(operation->allFilesSize(), int64_t{1} << 40);
  EXPECT_EQ(operation->sizeOfAllFilesProcessed(), int64_t{1} << 39);  // the caller's to advance
  expectDone(*operation);
}

TEST_F(RVXCopyOperationThreadedTest, DigestIsOfTheAlgorithmThatTheCopyWasMadeWith) {
  writeFile(mSource, "movie");
  const auto operation = copyTo({"/dev/null/"});
  EXPECT_EQ(operation->hash(), toolSHA1OfFile(mSource));
  operation->setAlgorithm(HashAlgorithm::MD5);
  EXPECT_FALSE(operation->hash().has_value());
  EXPECT_EQ(copyTo({"/dev/null/"}, HashAlgorithm::MD5)->hash(), toolMD5OfFile(mSource));
  const auto other = operationTo({"/dev/null/"});
  other->setAlgorithm(kOtherAlgorithm);
  other->setVerbose(true);
  EXPECT_TRUE(
      outputOf([&] {
        other->main();
      }).ends_with("hash SHA1:" + toolSHA1OfFile(mSource) + "\nhash MD5:" + toolMD5OfFile(mSource) + "\n"));
  EXPECT_FALSE(other->hash().has_value());
}

TEST_F(RVXCopyOperationThreadedTest, LinkHasTheDigestsOfBothAlgorithms) {
  fs::create_symlink("../else where/\u00E4.mov", mSource);
  const auto operation = copyTo({mD1});
  EXPECT_EQ(operation->hash(), toolSHA1OfText("../else where/\u00E4.mov"));
  operation->setAlgorithm(HashAlgorithm::MD5);
  EXPECT_EQ(operation->hash(), toolMD5OfText("../else where/\u00E4.mov"));
  operation->setAlgorithm(kOtherAlgorithm);
  EXPECT_FALSE(operation->hash().has_value());
  EXPECT_EQ(operation->fileSize(), 0);
}

TEST_F(RVXCopyOperationThreadedTest, OnlyTheCopiesAreOpenWhenItReturns) {
  writeFile(mSource, "movie");
  const auto openFiles = [] { return entryCount("/proc/self/fd"); };
  const size_t before = openFiles();
  const auto operation = copyTo({mD1, mFolder.path()});
  EXPECT_EQ(openFiles(), before + 2);
  operation->takeCopies().clear();
  EXPECT_EQ(openFiles(), before);
  EXPECT_TRUE(Probe::allThreadsFinished(*operation));
  EXPECT_EQ(Probe::bufferManager(*operation), nullptr);
}

TEST_F(RVXCopyOperationThreadedTest, WhatCantBeOpenedIsAnErrorAndPrintsNothing) {
  const auto expectFailed = [&](const std::vector<std::string>& folders, bool force, int code,
                                const std::string& description) {
    const auto operation = operationTo(folders, force);
    operation->setVerbose(true);
    EXPECT_EQ(outputOf([&] { operation->main(); }), "");
    EXPECT_TRUE(operation->isFailed());
    ASSERT_TRUE(operation->error().has_value());
    EXPECT_EQ(operation->error()->domain, "rvxcopy");
    EXPECT_EQ(operation->error()->code, code);
    EXPECT_EQ(operation->error()->description, description);
    EXPECT_FALSE(operation->hash().has_value());
  };
  const std::string copy = writeFile(mD1 + "/copy", "precious");
  const std::string missing = mFolder.path("missing");
  expectFailed({mD1}, false, 200, "can't open source file");  // before the copy that exists is found
  writeFile(mSource, "movie");
  expectFailed({"/dev/null/", missing, mD1}, false, 201, "can't open destination file (#2)");
  for (const char* folder : {"/dev/null", "/dev/null//", "//dev/null/"}) {
    expectFailed({folder}, false, 201, "can't open destination file (#1)");
  }
  fs::remove(mSource);
  fs::create_symlink("nowhere", mSource);
  expectFailed({mD1, missing}, true, 201, "can't open destination file (" + copy + ")");
  EXPECT_EQ(readFile(copy), "precious");
}

TEST_F(RVXCopyOperationThreadedTest, DiscardingFolderTakesEverythingAndNeverExists) {
  writeFile(mSource, "movie");
  const auto operation = copyTo({"/dev/null/", mD1, "/dev/null/"});
  expectDone(*operation);
  EXPECT_EQ(operation->hash(), toolSHA1OfFile(mSource));
  EXPECT_EQ(readFile(mD1 + "/copy"), "movie");
  fs::remove(mSource);
  fs::remove(mD1 + "/copy");
  fs::create_symlink("nowhere", mSource);
  expectDone(*copyTo({"/dev/null/", mD1}));
  EXPECT_EQ(fs::read_symlink(mD1 + "/copy"), "nowhere");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(RVXCopyOperationThreadedTest, OnlyTheLastBlockIsNotFullAndMayBeOfNothing) {
  for (const auto& [size, expected] : std::vector<std::pair<size_t, std::vector<size_t>>>{
           {0, {0}}, {2097151, {2097151}}, {2097153, {2097152, 1}}, {4194304, {2097152, 2097152, 0}}}) {
    writeFile(mSource, patternBytes(size));
    const auto operation = operationTo({});
    auto& manager = Probe::prepare(*operation, 0);
    Probe::readThread(*operation);
    std::vector<size_t> lengths;
    while (const RVXBlock* const block = manager.nextBufferForDigest()) {
      lengths.push_back(block->length());
      manager.finishedDigest();
    }
    EXPECT_EQ(lengths, expected);
  }
}

// What every thread does when an exit is forced, one at a time.
class RVXCopyOperationThreadedForcedExitTest : public RVXCopyOperationThreadedTest {
 protected:
  RVXCopyOperationThreadedForcedExitTest() { writeFile(mSource, "movie"); }

  // What a thread prints that finds a block handed in, or the end of the data.
  template <typename Thread>
  std::string outputOfThread(bool findsBlock, Thread thread) {
    mOperation = operationTo({mD1});
    mOperation->setVerbose(true);
    Probe::forceExit(*mOperation);
    auto& manager = Probe::prepare(*mOperation, 1);
    if (findsBlock) manager.addReadBuffer(RVXBlock::withCapacity(kBlock));
    if (!findsBlock) manager.setFinishedReading();
    return outputOf([&] { thread(*mOperation); });
  }

  std::unique_ptr<Operation> mOperation;
};

TEST_F(RVXCopyOperationThreadedForcedExitTest, EachThreadSaysSoAndDoesNothing) {
  const std::string file = mD1 + "/copy";
  const auto write = [&](Operation& operation) { Probe::writeThread(operation, file); };
  for (const bool findsBlock : {true, false}) {
    EXPECT_EQ(outputOfThread(findsBlock, Probe::readThread), "INFO: forced exit of readThread\n");
    EXPECT_EQ(RVXCopyBufferManagerProbe::state(*Probe::bufferManager(*mOperation)).held.size(),
              findsBlock ? 1U : 0U);
    EXPECT_EQ(outputOfThread(findsBlock, Probe::digestThread), "INFO: forced exit of digestThread\n");
    EXPECT_FALSE(mOperation->hash().has_value());
    EXPECT_EQ(outputOfThread(findsBlock, Probe::fakeDigestThread), "INFO: forced exit of digestThread\n");
    EXPECT_EQ(outputOfThread(findsBlock, write), "INFO: forced exit of writeThread\n");
    EXPECT_EQ(readFile(file), "");
  }
}

// A destination that takes nothing before the test reads it: a FIFO. The copy can thus be looked at midway.
TEST_F(RVXCopyOperationThreadedTest, SlowWriterStopsTheReaderAtNineBlocksAndForcedExitEndsAllThreads) {
  writeFile(mSource, patternBytes(11 * kBlock));
  ::mkfifo((mD1 + "/copy").c_str(), 0600);
  const int readEnd = ::open((mD1 + "/copy").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  const auto operation = operationTo({mD1}, true);
  std::jthread copy;
  size_t held = 0;
  std::string received;
  const std::string output = outputOf([&] {
    copy = std::jthread([&] { operation->main(); });
    const auto receive = [&] {
      std::array<char, 65536> bytes;
      const ssize_t length = ::read(readEnd, bytes.data(), bytes.size());
      if (length > 0) received.append(bytes.data(), static_cast<size_t>(length));
      return !received.empty();
    };
    eventually(receive);
    auto& manager = *Probe::bufferManager(*operation);
    eventually([&] { return !manager.willAcceptReadBuffer(); });
    held = RVXCopyBufferManagerProbe::state(manager).held.size();
    Probe::forceExit(*operation);
    RVXCopyBufferManagerProbe::abort(manager);  // wakes the digest thread, which waits for a tenth block
    // Once more, for ThreadSanitizer: it does not see that the pipe keeps the manager alive.
    Probe::forceExit(*operation);
    eventually([&] { return receive() && received.size() == kBlock; });  // lets the writer end its block
    copy.join();
  });
  ::close(readEnd);
  EXPECT_EQ(held, 9U);
  EXPECT_TRUE(received == patternBytes(kBlock));
  auto lines = linesOf(output);
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ(lines,
            (std::vector<std::string>{"INFO: forced exit of digestThread", "INFO: forced exit of readThread",
                                      "INFO: forced exit of writeThread"}));
}

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <thread>

#include "frontend/CopyPhase.h"
#include "tests/frontend/JobTest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Tools.h"

namespace {

namespace fs = std::filesystem;

class CopyPhaseTest : public JobTest {
 protected:
  void run() { runCopyPhase(mOptions, plan(), mHashList); }
  ChildEnd runInAChild() {
    return runInChild([&] { run(); });
  }
};

}  // namespace

TEST_F(CopyPhaseTest, MovieIsCopiedUnderTheNamesOfItsDestinations) {
  setMovie("movie");
  run();
  EXPECT_EQ(readFile(mFolder.path("d1/clip.mov")), "movie");
  EXPECT_EQ(readFile(mFolder.path("d2/take.mov")), "movie");
}

TEST_F(CopyPhaseTest, DigestIsEnteredUnderTheSourcesName) {
  setMovie("movie");
  run();
  EXPECT_EQ(mHashList.hashStringForFile("../clip.mov"), "SHA1:" + toolSHA1OfFile(mOptions.sourceArgument));
  EXPECT_FALSE(mHashList.hashStringForFile("../take.mov").has_value());
}

TEST_F(CopyPhaseTest, AlgorithmMD5EntersTheMD5Digest) {
  setMovie("movie");
  mOptions.algorithm = HashAlgorithm::MD5;
  run();
  EXPECT_EQ(mHashList.hashStringForFile("../clip.mov"), "MD5:" + toolMD5OfFile(mOptions.sourceArgument));
}

TEST_F(CopyPhaseTest, SkippedVerificationEntersNoDigest) {
  setMovie("movie");
  mOptions.skipVerification = true;
  run();
  EXPECT_FALSE(mHashList.hashStringForFile("../clip.mov").has_value());
  EXPECT_EQ(readFile(mFolder.path("d1/clip.mov")), "movie");
}

TEST_F(CopyPhaseTest, FramesAreCopiedUnderTheirOwnNames) {
  setFrames({10, 0, 30});
  run();
  for (size_t number = 1; number <= 3; ++number) {
    EXPECT_EQ(readFile(mFolder.path("d1/" + frameName(number))), readFile(frame(number)));
    EXPECT_EQ(readFile(mFolder.path("d2/" + frameName(number))), readFile(frame(number)));
    EXPECT_EQ(mHashList.hashStringForFile("../" + frameName(number)),
              "SHA1:" + toolSHA1OfFile(frame(number)));
  }
  EXPECT_EQ(entryCount(mFolder.path("d1")), 3U);
  EXPECT_EQ(entryCount(mFolder.path("d2")), 3U);
}

TEST_F(CopyPhaseTest, RebuiltFoldersReceiveTheCopies) {
  setMovie("movie");
  mOptions.preserveDepth = 1;
  run();
  EXPECT_EQ(readFile(mFolder.path("d1/A001/clip.mov")), "movie");
  EXPECT_EQ(readFile(mFolder.path("d2/A001/take.mov")), "movie");
}

TEST_F(CopyPhaseTest, QuietCopyPrintsNothing) {
  setFrames({10, 10, 10});
  EXPECT_EQ(outputOf([&] { run(); }), "");
}

TEST_F(CopyPhaseTest, VerboseCopyNamesTheSourceFolderOnce) {
  setFrames({0, 0, 0});
  mOptions.verbose = true;
  const std::string digests =
      "hash SHA1:" + toolSHA1OfFile(frame(1)) + "\nhash MD5:" + toolMD5OfFile(frame(1)) + "\n";
  EXPECT_EQ(outputOf([&] { run(); }),
            "INFO: copying " + mFolder.path("A001") + "...\n" + digests + digests + digests);
}

TEST_F(CopyPhaseTest, StatusLineCountsTheFilesBefore) {
  setFrames({10, 1000000});
  mOptions.verbose = true;
  mOptions.forceOverwrite = true;
  mOptions.destinationArguments = {mFolder.folder("d1") + "/"};
  // The second copy goes nowhere before its first status line was seen.
  const std::string pipe = mFolder.path("d1/" + frameName(2));
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int readEnd = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  bool isPrinted = false;
  const std::string output = [&] {
    const OutputCapture capture;
    std::jthread copy([&] { run(); });
    isPrinted = eventually(
        [&] { return capture.text().find("INFO: copied 10 of 1000010 bytes\n") != std::string::npos; });
    size_t drained = 0;
    eventually([&] {
      std::array<char, 4096> bytes;
      for (ssize_t length = 1; length > 0; drained += static_cast<size_t>(std::max<ssize_t>(length, 0))) {
        length = ::read(readEnd, bytes.data(), bytes.size());
      }
      return drained >= 1000000;
    });
    copy.join();
    return capture.text();
  }();
  ::close(readEnd);
  EXPECT_TRUE(isPrinted) << output;
}

TEST_F(CopyPhaseTest, SourceThatCantBeOpenedEndsWith200AndEarlierFramesStay) {
  setFrames({10, 10, 10});
  fs::remove(frame(2));
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 200);
  EXPECT_EQ(end.output, "ERROR: can't open source file (200i)");
  EXPECT_EQ(readFile(mFolder.path("d1/" + frameName(1))), readFile(frame(1)));
  EXPECT_EQ(readFile(mFolder.path("d2/" + frameName(1))), readFile(frame(1)));
  EXPECT_FALSE(exists(mFolder.path("d1/" + frameName(3))));
}

TEST_F(CopyPhaseTest, MissingFrameEndsWith200AlsoWhereCopiesMayBeOverwritten) {
  setFrames({10, 20, 30});
  fs::remove(frame(2));
  mOptions.forceOverwrite = true;
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 200);
  EXPECT_EQ(end.output, "ERROR: can't open source file (200i)");
  EXPECT_EQ(readFile(mFolder.path("d1/" + frameName(1))), readFile(frame(1)));
  EXPECT_FALSE(exists(mFolder.path("d1/" + frameName(3))));
}

TEST_F(CopyPhaseTest, DestinationThatCantBeOpenedEndsWith201) {
  setMovie("movie");
  mOptions.forceOverwrite = true;
  mFolder.folder("d2/take.mov");
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 201);
  EXPECT_EQ(end.output, "ERROR: can't open destination file (#2) (201i)");
}

TEST_F(CopyPhaseTest, LinkThatCantBeMadeEndsWith201AndItsPath) {
  mOptions.sourceArgument = mFolder.path("A001/link");
  fs::create_symlink("nowhere", mOptions.sourceArgument);
  mOptions.forceOverwrite = true;
  mFolder.folder("d1");
  writeFile(mFolder.path("d1/link"), "precious");
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 201);
  EXPECT_EQ(end.output, "ERROR: can't open destination file (" + mFolder.path("d1/link") + ") (201i)");
}

TEST_F(CopyPhaseTest, ForceOverwriteReplacesExistingFrames) {
  setFrames({10, 10});
  mOptions.forceOverwrite = true;
  mFolder.folder("d1");
  writeFile(mFolder.path("d1/" + frameName(1)), "old and longer than the frame");
  run();
  EXPECT_EQ(readFile(mFolder.path("d1/" + frameName(1))), readFile(frame(1)));
}

TEST_F(CopyPhaseTest, ExistingDestinationEndsWith107) {
  setMovie("movie");
  mFolder.folder("d2");
  writeFile(mFolder.path("d2/take.mov"), "precious");
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 107);
  EXPECT_EQ(end.output, "ERROR: File destination #2 (" + mFolder.path("d2/take.mov") + ") already exists.\n");
}

TEST_F(CopyPhaseTest, ForceOverwriteReplacesExistingDestinations) {
  setMovie("movie");
  mOptions.forceOverwrite = true;
  mFolder.folder("d2");
  writeFile(mFolder.path("d2/take.mov"), "old and longer");
  run();
  EXPECT_EQ(readFile(mFolder.path("d2/take.mov")), "movie");
}

TEST_F(CopyPhaseTest, NoFramesCopyNothing) {
  mOptions.isSequence = true;
  mOptions.sourceArgument = mFolder.path("A001/f_1-0##.dpx");
  run();
  EXPECT_EQ(entryCount(mFolder.path("d1")), 0U);
}

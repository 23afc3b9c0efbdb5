#include <algorithm>
#include <array>
#include <filesystem>

#include "frontend/VerifyPhase.h"
#include "tests/frontend/JobTest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Text.h"
#include "tests/support/Tools.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

std::string mismatch(const std::string& expected, const std::string& computed) {
  return "INFO: expected hash: " + expected + " but got hash: " + computed + ".\n";
}

class VerifyPhaseTest : public JobTest {
 protected:
  // As a copy leaves it: the copies, and their digests in the list.
  void copyMovie(const std::string& bytes) {
    setMovie(bytes);
    mPlan = plan();
    writeFile(mFolder.path("d1/clip.mov"), bytes);
    writeFile(mFolder.path("d2/take.mov"), bytes);
    mHashList.addHash(toolSHA1OfText(bytes), "SHA1", "../clip.mov");
  }

  void copyFrames(const std::vector<size_t>& sizes) {
    setFrames(sizes);
    mPlan = plan();
    for (size_t number = 1; number <= sizes.size(); ++number) {
      for (const char* folder : {"d1/", "d2/"}) {
        writeFile(mFolder.path(folder + frameName(number)), readFile(frame(number)));
      }
      mHashList.addHash(toolSHA1OfFile(frame(number)), "SHA1", "../" + frameName(number));
    }
  }

  void run() { runVerifyPhase(mOptions, mPlan, mHashList); }
  ChildEnd runInAChild() {
    return runInChild([&] { run(); });
  }
  void report() { reportUnverifiedCopies(mOptions, mPlan); }

  [[nodiscard]] std::string verified(const std::string& folder, const std::string& numbers) const {
    return "INFO: verified " + numbers + " bytes of path " + mFolder.path(folder);
  }

  CopyPlan mPlan;
};

}  // namespace

TEST_F(VerifyPhaseTest, QuietVerificationPrintsNothing) {
  copyMovie("movie");
  EXPECT_EQ(outputOf([&] { run(); }), "");
}

TEST_F(VerifyPhaseTest, MovieVerbose) {
  copyMovie(std::string(1000, 'x'));
  mOptions.verbose = true;
  auto lines = linesOf(outputOf([&] { run(); }));
  ASSERT_EQ(lines.size(), 9U);
  std::sort(lines.begin() + 3, lines.begin() + 6);  // these three come in any order
  const std::string d1 = mFolder.path("d1/");
  const std::string d2 = mFolder.path("d2");
  EXPECT_EQ(lines, (Texts{"INFO: verifying " + d1, "INFO: verifying " + d2,
                          "INFO: verifying " + mFolder.path("A001"), verified("A001", "1000 of 1000"),
                          verified("d1", "1000 of 1000"), verified("d2", "1000 of 1000"),
                          "verify of destination file #1 (" + d1 + "clip.mov) ok.",
                          "verify of destination file #2 (" + d2 + "/take.mov) ok.",
                          "verify of source file #3 (" + mOptions.sourceArgument + ") ok."}));
}

TEST_F(VerifyPhaseTest, SequenceVerboseNamesFrameCountAndPlace) {
  copyFrames({10, 20});
  mOptions.verbose = true;
  Texts lines = linesOf(outputOf([&] { run(); }));
  std::erase_if(lines, [](const auto& line) { return line.starts_with("INFO:"); });
  EXPECT_EQ(
      lines,
      (Texts{"verify of destination file 1 of 2 of sequence #1 (" + mFolder.path("d1/f_01.dpx") + ") ok.",
             "verify of destination file 1 of 2 of sequence #2 (" + mFolder.path("d2/f_01.dpx") + ") ok.",
             "verify of source file 1 of 2 of sequence #3 (" + frame(1) + ") ok.",
             "verify of destination file 2 of 2 of sequence #1 (" + mFolder.path("d1/f_02.dpx") + ") ok.",
             "verify of destination file 2 of 2 of sequence #2 (" + mFolder.path("d2/f_02.dpx") + ") ok.",
             "verify of source file 2 of 2 of sequence #3 (" + frame(2) + ") ok."}));
}

TEST_F(VerifyPhaseTest, ProgressCountsTheSourceFilesBefore) {
  copyFrames({10, 20, 30});
  mOptions.verbose = true;
  Texts lines = linesOf(outputOf([&] { run(); }));
  std::erase_if(lines, [](const auto& line) { return !line.starts_with("INFO: verified"); });
  ASSERT_EQ(lines.size(), 9U);
  for (size_t number = 0; number < 3; ++number) {
    const auto first = lines.begin() + static_cast<ptrdiff_t>(3 * number);
    std::sort(first, first + 3);  // the lines of one frame come in any order
    const std::string numbers = std::array{"10 of 60", "30 of 60", "60 of 60"}[number];
    EXPECT_EQ(Texts(first, first + 3),
              (Texts{verified("A001", numbers), verified("d1", numbers), verified("d2", numbers)}));
  }
}

TEST_F(VerifyPhaseTest, RebuiltFolderIsAnnounced) {
  mOptions.preserveDepth = 1;
  copyFrames({});
  mOptions.verbose = true;
  mPlan.fileCount = 0;
  EXPECT_EQ(outputOf([&] { run(); }), "INFO: verifying " + mFolder.path("d1/A001") + "\nINFO: verifying " +
                                          mFolder.path("d2/A001") + "\nINFO: verifying " +
                                          mFolder.path("A001") + "\n");
}

TEST_F(VerifyPhaseTest, WrongHashOfADestinationEndsWith109) {
  copyMovie("movie");
  const std::string wrong = writeFile(mFolder.path("d2/take.mov"), "wrong");
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 109);
  EXPECT_EQ(end.output, mismatch(toolSHA1OfText("movie"), toolSHA1OfText("wrong")) +
                            "ERROR: verify of destination file #2 (" + wrong + ") failed, wrong hash.\n");
}

TEST_F(VerifyPhaseTest, WrongHashOfTheSourceIsTheLastNumber) {
  copyMovie("movie");
  writeFile(mOptions.sourceArgument, "changed");
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 109);
  EXPECT_EQ(end.output, mismatch(toolSHA1OfText("movie"), toolSHA1OfText("changed")) +
                            "ERROR: verify of source file #3 (" + mOptions.sourceArgument +
                            ") failed, wrong hash.\n");
}

TEST_F(VerifyPhaseTest, ResultsBeforeTheFirstWrongOneAreReportedAndNoneBehindIt) {
  copyMovie("movie");
  mOptions.verbose = true;
  writeFile(mFolder.path("d2/take.mov"), "wrong");
  writeFile(mOptions.sourceArgument, "changed");
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 109);
  EXPECT_TRUE(end.output.ends_with("verify of destination file #1 (" + mFolder.path("d1/clip.mov") +
                                   ") ok.\nERROR: verify of destination file #2 (" +
                                   mFolder.path("d2/take.mov") + ") failed, wrong hash.\n"))
      << end.output;
}

TEST_F(VerifyPhaseTest, MissingCopyIsAWrongHash) {
  copyMovie("movie");
  fs::remove(mFolder.path("d1/clip.mov"));
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 109);
  EXPECT_EQ(end.output, mismatch(toolSHA1OfText("movie"), "(null)") +
                            "ERROR: verify of destination file #1 (" + mFolder.path("d1/clip.mov") +
                            ") failed, wrong hash.\n");
}

TEST_F(VerifyPhaseTest, FileWithoutAnEntryIsAWrongHash) {
  copyMovie("movie");
  mHashList = RVXHashList::init();
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 109);
  EXPECT_TRUE(end.output.starts_with(mismatch("", toolSHA1OfText("movie")))) << end.output;
}

TEST_F(VerifyPhaseTest, NoFurtherFrameIsVerifiedAfterAWrongHash) {
  copyFrames({10, 10});
  mOptions.verbose = true;
  writeFile(mFolder.path("d1/f_01.dpx"), "wrong");
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 109);
  EXPECT_TRUE(end.output.ends_with("ERROR: verify of destination file #1 (" + mFolder.path("d1/f_01.dpx") +
                                   ") failed, wrong hash.\n"))
      << end.output;
}

TEST_F(VerifyPhaseTest, AlgorithmMD5ComparesTheMD5Digest) {
  copyMovie("movie");
  mOptions.algorithm = HashAlgorithm::MD5;
  mHashList.addHash(toolMD5OfText("movie"), "MD5", "../clip.mov");
  EXPECT_EQ(outputOf([&] { run(); }), "");
}

TEST_F(VerifyPhaseTest, LabelIsRemovedOnlyWhenItIsTheAlgorithms) {
  copyMovie("movie");
  mHashList.addHash(toolSHA1OfText("movie"), "MD5", "../clip.mov");
  const ChildEnd end = runInAChild();
  EXPECT_EQ(end.status, 109);
  EXPECT_TRUE(end.output.starts_with("INFO: expected hash: MD5:" + toolSHA1OfText("movie") + " but"))
      << end.output;
}

TEST_F(VerifyPhaseTest, LinksAreVerifiedByTheirTargetText) {
  copyMovie("movie");
  for (const std::string& path :
       {mOptions.sourceArgument, mFolder.path("d1/clip.mov"), mFolder.path("d2/take.mov")}) {
    fs::remove(path);
    fs::create_symlink("nowhere", path);
  }
  mHashList.addHash(toolSHA1OfText("nowhere"), "SHA1", "../clip.mov");
  EXPECT_EQ(outputOf([&] { run(); }), "");
}

TEST_F(VerifyPhaseTest, ManyDestinations) {
  mOptions.destinationArguments.clear();
  for (int k = 0; k < 12; ++k) {
    mOptions.destinationArguments.push_back(mFolder.path(std::to_string(k) + "/"));
  }
  setMovie("movie");
  mPlan = plan();
  for (const std::string& folder : mPlan.destinationPaths) writeFile(folder + "clip.mov", "movie");
  mHashList.addHash(toolSHA1OfText("movie"), "SHA1", "../clip.mov");
  mOptions.verbose = true;
  const std::string output = outputOf([&] { run(); });
  EXPECT_TRUE(output.ends_with("verify of destination file #12 (" + mFolder.path("11/clip.mov") +
                               ") ok.\nverify of source file #13 (" + mOptions.sourceArgument + ") ok.\n"))
      << output;
}

TEST_F(VerifyPhaseTest, SkippedVerificationReportsEveryCopyOfAMovie) {
  copyMovie("movie");
  EXPECT_EQ(outputOf([&] { report(); }), "Copy completed successfully for destination file (" +
                                             mFolder.path("d1/clip.mov") +
                                             ")\nCopy completed successfully for destination file (" +
                                             mFolder.path("d2/take.mov") + ")\n");
}

TEST_F(VerifyPhaseTest, SkippedVerificationReportsEveryCopyOfEveryFrame) {
  copyFrames({10, 10});
  std::string expected;
  for (const char* copy : {"d1/f_01.dpx", "d2/f_01.dpx", "d1/f_02.dpx", "d2/f_02.dpx"}) {
    expected += "Copy completed successfully for destination file (" + mFolder.path(copy) + ")\n";
  }
  EXPECT_EQ(outputOf([&] { report(); }), expected);
}

TEST_F(VerifyPhaseTest, SkippedVerificationLooksAtNoContents) {
  copyMovie("movie");
  writeFile(mFolder.path("d1/clip.mov"), "wrong");
  EXPECT_EQ(outputOf([&] { report(); }).find("failed"), std::string::npos);
}

TEST_F(VerifyPhaseTest, FirstMissingCopyEndsWith116) {
  copyFrames({10, 10, 10});
  fs::remove(mFolder.path("d2/f_01.dpx"));
  fs::remove(mFolder.path("d1/f_03.dpx"));
  const ChildEnd end = runInChild([&] { report(); });
  EXPECT_EQ(end.status, 116);
  EXPECT_EQ(end.output, "Copy completed successfully for destination file (" + mFolder.path("d1/f_01.dpx") +
                            ")\nCopy failed for destination file (" + mFolder.path("d2/f_01.dpx") + ")\n");
}

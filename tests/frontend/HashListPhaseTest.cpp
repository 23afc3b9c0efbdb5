#include <filesystem>

#include "frontend/HashListPhase.h"
#include "tests/frontend/JobTest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/Text.h"

namespace {

namespace fs = std::filesystem;

const std::string kSHA1 = "a9993e364706816aba3e25717850c26c9cd0d89d";
const std::string kMD5 = "900150983cd24fb0d6963f7d28e17f72";

class HashListPhaseTest : public JobTest {
 protected:
  HashListPhaseTest() {
    setMovie("abc");
    mHashList.setOriginalFiles(mOptions.sourceArgument);
    mHashList.addHash(kSHA1, "SHA1", "../clip.mov");
  }

  void run() { runHashListPhase(mOptions, plan(), mHashList); }

  // The one entry line of a list of this job's source.
  [[nodiscard]] std::string entryOf(const std::string& path) const {
    const auto lines = linesOf(readFile(path));
    EXPECT_EQ(lines.size(), 3U) << path;
    EXPECT_EQ(lines.at(1), "# original file(s): " + mOptions.sourceArgument + " ");
    return lines.back();
  }
};

}  // namespace

TEST_F(HashListPhaseTest, SameListIsWrittenIntoEveryDestination) {
  run();
  EXPECT_EQ(entryOf(mFolder.path("d1/sha1/clip.mov.sha1")), "SHA1(../clip.mov)= " + kSHA1);
  EXPECT_EQ(entryOf(mFolder.path("d2/sha1/take.mov.sha1")), "SHA1(../clip.mov)= " + kSHA1);
}

TEST_F(HashListPhaseTest, NothingElseIsLeft) {
  run();
  EXPECT_EQ(entryCount(mFolder.path("d1")), 1U);
  EXPECT_EQ(entryCount(mFolder.path("d1/sha1")), 1U);
}

TEST_F(HashListPhaseTest, PrintsNothing) {
  mOptions.verbose = true;
  EXPECT_EQ(outputOf([&] { run(); }), "");
}

TEST_F(HashListPhaseTest, AlgorithmMD5NamesFolderAndExtension) {
  mOptions.algorithm = HashAlgorithm::MD5;
  mHashList.addHash(kMD5, "MD5", "../clip.mov");
  run();
  EXPECT_EQ(entryOf(mFolder.path("d1/md5/clip.mov.md5")), "MD5(../clip.mov)= " + kMD5);
  EXPECT_EQ(entryOf(mFolder.path("d2/md5/take.mov.md5")), "MD5(../clip.mov)= " + kMD5);
}

TEST_F(HashListPhaseTest, ListOfASequenceHasTheIdentifiersName) {
  setFrames({1, 1});
  mOptions.destinationArguments.push_back(mFolder.path("d3/frames"));
  mHashList.setOriginalFiles(mOptions.sourceArgument);
  run();
  EXPECT_TRUE(exists(mFolder.path("d1/sha1/f_1-2##.dpx.sha1")));
  EXPECT_TRUE(exists(mFolder.path("d3/sha1/frames.sha1")));
}

TEST_F(HashListPhaseTest, RebuiltFolderHoldsTheList) {
  mOptions.preserveDepth = 1;
  run();
  EXPECT_TRUE(exists(mFolder.path("d1/A001/sha1/clip.mov.sha1")));
}

TEST_F(HashListPhaseTest, ExistingListIsReplaced) {
  mFolder.folder("d1/sha1");
  writeFile(mFolder.path("d1/sha1/clip.mov.sha1"), "old");
  run();
  EXPECT_EQ(entryOf(mFolder.path("d1/sha1/clip.mov.sha1")), "SHA1(../clip.mov)= " + kSHA1);
}

TEST_F(HashListPhaseTest, CurrentFolderHoldsTheListOfAFileNameAlone) {
  const ChildEnd end = runInChild([&] {
    fs::current_path(mFolder.folder("here"));
    mOptions.destinationArguments = {"copy.mov"};
    run();
  });
  EXPECT_EQ(end.status, kBodyReturned);
  EXPECT_TRUE(exists(mFolder.path("here/sha1/copy.mov.sha1")));
}

TEST_F(HashListPhaseTest, FolderThatCantBeMadeEndsWith114AndEarlierListsStay) {
  mFolder.folder("d2");
  writeFile(mFolder.path("d2/sha1"), "a file");
  const ChildEnd end = runInChild([&] { run(); });
  EXPECT_EQ(end.status, 114);
  EXPECT_EQ(end.output, "ERROR: Can't create folder for hashes (" + mFolder.path("d2/sha1") + ").\n");
  EXPECT_TRUE(exists(mFolder.path("d1/sha1/clip.mov.sha1")));
}

TEST_F(HashListPhaseTest, ListThatCantBeWrittenEndsWith115AndEarlierListsStay) {
  const std::string path = mFolder.folder("d2/sha1/take.mov.sha1");
  const ChildEnd end = runInChild([&] { run(); });
  EXPECT_EQ(end.status, 115);
  EXPECT_EQ(end.output, "ERROR: couldn't write hash file to " + path + "\nERROR: Can't write hash file (" +
                            path + ").\n");
  EXPECT_TRUE(exists(mFolder.path("d1/sha1/clip.mov.sha1")));
  EXPECT_EQ(entryCount(mFolder.path("d2/sha1")), 1U);
}

TEST_F(HashListPhaseTest, ListInPlaceOfACopyEndsWith115AndTheCopyStays) {
  mOptions.destinationArguments = {mFolder.path("d1/"), mFolder.path("d1/sha1/clip.mov.sha1")};
  mFolder.folder("d1/sha1");
  const std::string copy = writeFile(mFolder.path("d1/sha1/clip.mov.sha1"), "abc");
  const ChildEnd end = runInChild([&] { run(); });
  EXPECT_EQ(end.status, 115);
  EXPECT_EQ(end.output, "ERROR: Can't write hash file (" + copy + ").\n");
  EXPECT_EQ(readFile(copy), "abc");
}

TEST_F(HashListPhaseTest, ListInPlaceOfTheSourceEndsWith115AndTheSourceStays) {
  mFolder.folder("d1/sha1");
  mOptions.sourceArgument = writeFile(mFolder.path("d1/sha1/take.mov.sha1"), "abc");
  mOptions.destinationArguments = {mFolder.path("d1/take.mov")};
  const ChildEnd end = runInChild([&] { run(); });
  EXPECT_EQ(end.status, 115);
  EXPECT_EQ(end.output, "ERROR: Can't write hash file (" + mOptions.sourceArgument + ").\n");
  EXPECT_EQ(readFile(mOptions.sourceArgument), "abc");
}

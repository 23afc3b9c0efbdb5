#include <gtest/gtest.h>

#include <filesystem>

#include "platform/files/RVXNewItem.h"
#include "tests/support/Files.h"
#include "tests/support/Outcomes.h"

namespace {

namespace fs = std::filesystem;

class RVXNewItemTest : public testing::Test {
 protected:
  RVXNewItem makeFile(const std::string& text = "new") {
    RVXFileHandle handle;
    auto made = RVXNewItem::makeFileIn(mFolder.path(), handle);
    EXPECT_TRUE(handle.writeWhole(std::as_bytes(std::span(text))).succeeded());
    return std::move(made).value();
  }

  TemporaryFolder mFolder;
  const std::string mPath = mFolder.path("name");
};

}  // namespace

TEST_F(RVXNewItemTest, BeginsUnderATemporaryNameAndGoesUnlessItIsKept) {
  {
    const RVXNewItem file = makeFile();
    const RVXNewItem other = makeFile();
    EXPECT_NE(file.path(), other.path());
    EXPECT_TRUE(fs::path(file.path()).filename().string().starts_with(".rvxcopy-"));
    EXPECT_TRUE(file.path().ends_with(".tmp"));
    EXPECT_EQ(entryCount(mFolder.path()), 2U);
  }
  EXPECT_EQ(entryCount(mFolder.path()), 0U);
  makeFile().keep();
  EXPECT_EQ(entryCount(mFolder.path()), 1U);
}

TEST_F(RVXNewItemTest, GoesUnderItsNewNameToo) {
  {
    RVXNewItem file = makeFile();
    EXPECT_TRUE(file.moveTo(mPath).succeeded());
    EXPECT_EQ(readFile(mPath), "new");
    EXPECT_EQ(entryCount(mFolder.path()), 1U);
  }
  EXPECT_EQ(entryCount(mFolder.path()), 0U);
}

TEST_F(RVXNewItemTest, MovesToNothingThatIsThere) {
  writeFile(mPath, "old");
  EXPECT_EQ(failureOf(makeFile().moveTo(mPath)), "EEXIST");
  EXPECT_EQ(readFile(mPath), "old");
  fs::remove(mPath);
  fs::create_symlink("nowhere", mPath);
  EXPECT_EQ(failureOf(makeFile().moveTo(mPath)), "EEXIST");
  EXPECT_EQ(entryCount(mFolder.path()), 1U);
}

TEST_F(RVXNewItemTest, ReplacesAndIsKept) {
  writeFile(mPath, "old");
  EXPECT_TRUE(makeFile().replace(mPath).succeeded());
  EXPECT_EQ(readFile(mPath), "new");
  EXPECT_EQ(failureOf(makeFile().replace(mFolder.path("none/name"))), "ENOENT");
  EXPECT_EQ(entryCount(mFolder.path()), 1U);
}

TEST_F(RVXNewItemTest, FolderGoesBehindWhatLiesInIt) {
  {
    auto folder = RVXNewItem::makeFolderIn(mFolder.path());
    RVXFileHandle handle;
    const auto file = RVXNewItem::makeFileIn(folder.value().path(), handle);
    EXPECT_EQ(entryCount(folder.value().path()), 1U);
  }
  EXPECT_EQ(entryCount(mFolder.path()), 0U);
  auto folder = RVXNewItem::makeFolderIn(mFolder.path());
  EXPECT_TRUE(folder.value().moveTo(mPath).succeeded());
  folder.value().keep();
  EXPECT_TRUE(fs::is_directory(mPath));
}

TEST_F(RVXNewItemTest, WhereNothingCanBeMade) {
  RVXFileHandle handle;
  EXPECT_EQ(failureOf(RVXNewItem::makeFileIn(mFolder.path("none"), handle)), "ENOENT");
  EXPECT_EQ(failureOf(RVXNewItem::makeFolderIn(writeFile(mPath, ""))), "ENOTDIR");
}

#include <gtest/gtest.h>

#include "formats/DigestText.h"
#include "formats/mhl/PackingList.h"
#include "formats/mhl/RVXMediaHashListReader.h"
#include "tests/support/Files.h"
#include "tests/support/Outcomes.h"

namespace {

using Expected = RVXMediaHashListReader::Expected;

// Writes down what it is given.
class Notes : public RVXMediaHashListReader::Receiver {
 public:
  std::string text;

 private:
  void entry(RVXMediaHash&& entry) override {
    text += std::to_string(entry.line) + " " + entry.path;
    if (entry.mayHaveBackslashes) text += " (Windows)";
    if (!entry.previousPath.empty()) text += " was " + entry.previousPath;
    if (entry.isFolder) text += " folder";
    if (entry.size) text += " " + std::to_string(*entry.size) + " B";
    for (const auto& digest : entry.digests) {
      text += std::string(" ") + digestLabel(digest.kind) + (digest.isInAnyOrder ? "?" : "") + " " +
              digestText(digest.kind, digest.bytes);
    }
    text += "\n";
  }
  void badLine(uint32_t line, const char* problem) override {
    text += std::to_string(line) + " ! " + problem + "\n";
  }
  void ignorePattern(const std::string& pattern) override { text += "ignore " + pattern + "|\n"; }
};

std::string readIn(size_t pieceSize, std::string_view list, Expected expected) {
  Notes notes;
  RVXMediaHashListReader reader(expected, notes);
  while (!list.empty() && reader.take(list.substr(0, pieceSize))) {
    list.remove_prefix(std::min(list.size(), pieceSize));
  }
  reader.finish();
  return notes.text;
}

// Fed at once, and byte by byte.
std::string read(const std::string& list, Expected expected = Expected::list) {
  std::string notes = readIn(list.size(), list, expected);
  EXPECT_EQ(readIn(1, list, expected), notes);
  return notes;
}

std::string oldList(const std::string& entries) {
  return "<hashlist version=\"1.1\">\n" + entries + "</hashlist>\n";
}

std::string hashOf(const std::string& elements) {
  return oldList("<hash><file>a</file>" + elements + "</hash>");
}

std::string manifest(const std::string& elements) {
  return "<hashlist version=\"2.0\" xmlns=\"urn:ASC:MHL:v2.0\">\n" + elements + "</hashlist>\n";
}

}  // namespace

TEST(RVXMediaHashListReaderTest, EachFormOfADigest) {
  const std::string kC4 =
      "c421Lh6TCa4T7MFUpZ93fTbYFv3wh5YEGuuzjLJPFTbi3Qc6BzvfdWP4wVX2cwrqqYf8ohouYU7Cu5kxsmv6SWTLgU";
  EXPECT_EQ(read(hashOf("<md5>58A7D90CBF2b1ced5acfeb94a7e29158</md5>"
                        "<sha1>fb926abe4000bb296dfd71984bd5a2a5ac04e0d5</sha1><c4>" +
                        kC4 + "</c4>")),
            "2 a MD5 58a7d90cbf2b1ced5acfeb94a7e29158 SHA1 fb926abe4000bb296dfd71984bd5a2a5ac04e0d5 C4 " +
                kC4 + "\n");
  EXPECT_EQ(read(hashOf("<xxh64>5384a87f18df644b</xxh64><xxh3>fb949bce3f1631bd</xxh3>"
                        "<xxh128>d71608ae26ada58b328ee22fb35accf7</xxh128>")),
            "2 a XXH64 5384a87f18df644b XXH3 fb949bce3f1631bd XXH128 d71608ae26ada58b328ee22fb35accf7\n");
  EXPECT_EQ(read(hashOf("<xxhash>2442465453</xxhash><xxhash64>4b64df187fa88453</xxhash64>"
                        "<xxhash64be>\n 5384A87F18df644b\t</xxhash64be><null/>")),
            "2 a XXH32 919510ad XXH64? 4b64df187fa88453 XXH64 5384a87f18df644b\n");
}

TEST(RVXMediaHashListReaderTest, WhatCannotBeUsedIsToldAndTheRestIsTaken) {
  const std::string kMD5 = "<md5>58a7d90cbf2b1ced5acfeb94a7e29158</md5>";
  const std::string kGood = " MD5 58a7d90cbf2b1ced5acfeb94a7e29158\n";
  for (const char* digest : {"<md5>58a7</md5>", "<xxhash>4294967296</xxhash>", "<xxhash>-1</xxhash>",
                             "<xxh64/>", "<sha1>g</sha1>", "<c4>c4</c4>", "<md5>1</md5><sha1>1</sha1>"}) {
    EXPECT_EQ(read(hashOf(digest + kMD5)), "2 ! digest of a wrong form\n2 a" + kGood);
  }
  for (const char* size : {"", "-1", "-0", "+1", "1.5", "0x10", "9223372036854775808", "1 2"}) {
    EXPECT_EQ(read(hashOf("<size>" + std::string(size) + "</size>" + kMD5)),
              "2 ! size that is no number\n2 a" + kGood);
  }
  EXPECT_EQ(read(oldList("<hash>" + kMD5 + "</hash>")), "2 ! no path\n");
  EXPECT_EQ(read(oldList("<hash><file>a</file><file>b</file></hash>")), "2 ! several paths\n2 b\n");
  const std::string longest(4095, 'n');
  EXPECT_EQ(
      read(oldList("<hash><file>" + longest + "</file></hash>\n<hash><file>" + longest + "n</file></hash>")),
      "2 " + longest + "\n3 ! path of more than 4095 bytes\n");
}

TEST(RVXMediaHashListReaderTest, AnEntryOfVersion1) {
  EXPECT_EQ(
      read("<hashlist version='1'>\n<creatorinfo><size>1</size></creatorinfo>\n"
           "<hash referencehhashlist='true'><md5 action='failed'>58a7d90cbf2b1ced5acfeb94a7e29158</md5>\n"
           "<size> 8\n</size><file>  a&amp;<![CDATA[<b>]]>&#10; c </file><new>x</new></hash>\n"
           "<hash><file>x\\y</file></hash><hash><file>x\\/y</file></hash>\n"
           "<other:hash xmlns:other='o'><file>z</file></other:hash>"
           "<Signature><hash><file>z</file></hash></Signature></hashlist>"),
      "3   a&<b>\n c  8 B MD5 58a7d90cbf2b1ced5acfeb94a7e29158\n6 x\\y (Windows)\n6 x\\/y\n");
}

TEST(RVXMediaHashListReaderTest, AManifestWithAnyPrefix) {
  EXPECT_EQ(
      read("<m:hashlist version='2.0' xmlns:m='urn:ASC:MHL:v2.0'><m:hashes>\n"
           "<m:hash><m:path size='8' creationdate='x'>a</m:path><m:xxh64 action='failed'>0</m:xxh64>"
           "<m:xxh3 action='verified'>fb949bce3f1631bd</m:xxh3><m:previousPath>b</m:previousPath>"
           "<m:metadata><m:path>c</m:path><m:hash/></m:metadata></m:hash>\n"
           "<m:directoryhash><m:path>d/</m:path><m:content><m:md5>0</m:md5></m:content></m:directoryhash>"
           "<hash><path>e</path></hash></m:hashes>\n"
           "<m:metadata><m:hashes><m:hash><m:path>f</m:path></m:hash></m:hashes></m:metadata>\n"
           "<m:references><m:hashlistreference><m:path>g/ascmhl/1.mhl</m:path></m:hashlistreference>"
           "</m:references><m:processinfo><m:process>in-place</m:process><m:ignore><m:pattern> *.x "
           "</m:pattern>"
           "</m:ignore></m:processinfo></m:hashlist>"),
      "2 a was b 8 B XXH3 fb949bce3f1631bd\n3 d/ folder\n5 g/ascmhl/1.mhl\nignore  *.x |\n");
}

TEST(RVXMediaHashListReaderTest, AChain) {
  EXPECT_EQ(read("<ascmhldirectory xmlns='urn:ASC:MHL:DIRECTORY:v2.0'>\n<hashlist sequencenr='7'>"
                 "<path>1.mhl</path><md5>58a7d90cbf2b1ced5acfeb94a7e29158</md5></hashlist></ascmhldirectory>",
                 Expected::chain),
            "2 1.mhl MD5 58a7d90cbf2b1ced5acfeb94a7e29158\n");
}

TEST(RVXMediaHashListReaderTest, TheRootTellsWhatItIs) {
  const std::string kUnknown = "0 ! no media hash list that is known\n";
  const std::string chain = "<ascmhldirectory xmlns='urn:ASC:MHL:DIRECTORY:v2.0'/>";
  EXPECT_EQ(read("<hashlist version='1.10'/>"), "");
  EXPECT_EQ(read(manifest(""), Expected::manifest), "");
  EXPECT_EQ(read(oldList(""), Expected::manifest), kUnknown);
  EXPECT_EQ(read(chain), kUnknown);
  EXPECT_EQ(read(manifest(""), Expected::chain), kUnknown);
  for (const char* attributes : {"", " version='2.0'", " version='1.'", " version='1.x'", " version='11'",
                                 " xmlns='urn:ASC:MHL:v2.0' version='2.1'", " xmlns='o' version='1.1'"}) {
    EXPECT_EQ(read("<hashlist" + std::string(attributes) + "><hash><file>a</file></hash></hashlist>"),
              kUnknown);
  }
}

TEST(RVXMediaHashListReaderTest, WhatIsRefusedAndWhatStoodBefore) {
  const std::string kFirst = "<hashlist version='1.1'>\n<hash><file>a</file></hash>\n";
  EXPECT_EQ(read(kFirst + "<hash><file>b</hash>"), "2 a\n3 ! not well-formed\n");
  EXPECT_EQ(read(kFirst + "<hash><file>b</file>"), "2 a\n3 ! not well-formed\n");
  EXPECT_EQ(read(kFirst + "<hash><file>&b;</file></hash>"), "2 a\n3 ! not well-formed\n");
  EXPECT_EQ(read(kFirst + "<hash><file>\x01</file></hash>"), "2 a\n3 ! not well-formed\n");
  EXPECT_EQ(read(kFirst + "<hash><file>\xff</file></hash>"), "2 a\n3 ! not well-formed\n");
  EXPECT_EQ(read(""), "1 ! not well-formed\n");
  EXPECT_EQ(read("<!DOCTYPE hashlist [\n<!ENTITY a 'b'>]>\n" + kFirst), "1 ! document type declaration\n");
  EXPECT_EQ(read("<?xml version='1.0' encoding='KOI8-R'?>" + kFirst), "1 ! unknown encoding\n");
}

TEST(RVXMediaHashListReaderTest, LinesThatEndAsOnWindows) {
  EXPECT_EQ(
      read("<?xml version='1.0'?>\r\n\r\n<hashlist version='1.1'>\r\n<hash>\r\n<file>a\r\nb</file></hash>"
           "\r\n</hashlist>\r\n<x"),
      "4 a\nb\n8 ! not well-formed\n");
}

TEST(RVXMediaHashListReaderTest, AtMost64Levels) {
  const auto nested = [](int levels) {
    std::string text = "<hashlist version='1.1'>\n";
    for (int i = 1; i < levels; ++i) text += "<x>";
    for (int i = 1; i < levels; ++i) text += "</x>";
    return text + "<hash><file>a</file></hash></hashlist>";
  };
  EXPECT_EQ(read(nested(64)), "2 a\n");
  EXPECT_EQ(read(nested(65)), "2 ! more than 64 levels\n");
}

TEST(RVXMediaHashListReaderTest, WhatWouldTakeMuchMemoryIsRefused) {
  constexpr size_t kPiece = size_t{256} * 1024;
  const std::string longTag = "<hashlist version='1.1' x='" + std::string(20000000, 'y');
  EXPECT_EQ(readIn(kPiece, longTag, Expected::list), "1 ! needs too much memory\n");
  std::string names = "<hashlist version='1.1'>";
  for (int i = 0; i < 400000; ++i) names += "<n" + std::to_string(i) + "/>";
  EXPECT_EQ(readIn(kPiece, names, Expected::list), "1 ! needs too much memory\n");
}

TEST(RVXMediaHashListReaderTest, OtherEncodings) {
  EXPECT_EQ(read("<?xml version='1.0' encoding='ISO-8859-1'?>" + oldList("<hash><file>\xe4</file></hash>")),
            "2 \xc3\xa4\n");
  std::string wide = "\xff\xfe";
  for (const char byte : oldList("<hash><file>a</file></hash>")) (wide += byte) += '\0';
  EXPECT_EQ(read(wide), "2 a\n");
}

TEST(RVXMediaHashListReaderTest, AFileAcrossItsPieces) {
  std::string entries;
  std::string expected;
  for (int i = 2; i < 20000; ++i) {
    const std::string name = "name" + std::to_string(i);
    entries += "<hash><file>" + name + "</file></hash>\n";
    expected += std::to_string(i) + " " + name + "\n";
  }
  const TemporaryFolder folder;
  Notes notes;
  const std::string path = writeFile(folder.path("l.mhl"), oldList(entries));
  EXPECT_TRUE(RVXMediaHashListReader::read(path, Expected::list, notes).succeeded());
  EXPECT_EQ(notes.text, expected);
  EXPECT_EQ(failureOf(RVXMediaHashListReader::read("/nowhere/list", Expected::list, notes)), "ENOENT");
}

TEST(PackingListTest, IsAManifestThatWasFlattened) {
  const TemporaryFolder folder;
  const auto isOne = [&](const std::string& list) {
    return isPackingList(writeFile(folder.path("l.mhl"), list));
  };
  const std::string kFlatten = "<processinfo><process>flatten</process></processinfo>";
  EXPECT_TRUE(isOne(manifest(kFlatten)));
  EXPECT_TRUE(isOne(manifest("<hashes><hash><path>a</path></hash></hashes>" + kFlatten + "<x")));
  EXPECT_FALSE(isOne(manifest("<processinfo><process>transfer</process></processinfo>" + kFlatten)));
  EXPECT_FALSE(isOne(manifest("<metadata>" + kFlatten + "</metadata>")));
  EXPECT_FALSE(isOne(oldList(kFlatten)));
  EXPECT_FALSE(isOne("flatten"));
}

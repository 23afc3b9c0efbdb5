#include <gtest/gtest.h>

#include <vector>

#include "platform/system/RVXDigest.h"
#include "tests/support/Tools.h"

namespace {

std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

}  // namespace

TEST(RVXDigestTest, TextsOfAnyBytesAndOfEveryPadding) {
  std::vector<std::string> texts{std::string("../\u00E4\xFF\0b", 9)};
  for (const size_t length : {54U, 55U, 56U, 57U, 63U, 64U, 65U, 119U, 120U})
    texts.push_back(patternBytes(length));
  for (const std::string& text : texts) {
    EXPECT_EQ(SHA1Sum(text), toolSHA1OfText(text)) << text.size();
    EXPECT_EQ(md5(text), toolMD5OfText(text)) << text.size();
  }
}

TEST(RVXDigestTest, OtherAlgorithmIsSHA1) {
  RVXDigest digest(static_cast<HashAlgorithm>(2));
  digest.update(bytesOf("abc"));
  EXPECT_EQ(digest.final(), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(RVXDigestTest, EveryKindIsAsTheCoreutilsGiveIt) {
  const TemporaryFolder folder;
  const std::string file = writeFile(folder.path("file"), patternBytes(10000));
  for (const auto& [kind, tool] : {std::pair(DigestKind::MD5, "md5sum"),
                                   {DigestKind::SHA1, "sha1sum"},
                                   {DigestKind::SHA256, "sha256sum"},
                                   {DigestKind::SHA512, "sha512sum"}}) {
    RVXDigest digest(kind);
    digest.update(bytesOf(patternBytes(10000)));
    EXPECT_EQ(digest.final(), digestByTool(tool, file)) << tool;
  }
}

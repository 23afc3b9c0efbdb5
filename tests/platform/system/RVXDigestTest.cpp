#include <gtest/gtest.h>

#include <vector>

#include "platform/system/RVXDigest.h"
#include "tests/support/Tools.h"

namespace {

std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

std::string digestInPieces(HashAlgorithm algorithm, std::string_view text, size_t pieceLength) {
  RVXDigest digest(algorithm);
  digest.update({});
  for (; !text.empty(); text.remove_prefix(std::min(pieceLength, text.size()))) {
    digest.update(bytesOf(text.substr(0, pieceLength)));
  }
  return digest.final();
}

}  // namespace

TEST(RVXDigestTest, MD5OfTheTestSuiteOfRFC1321) {
  EXPECT_EQ(md5(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(md5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(md5("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(md5("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(md5("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(RVXDigestTest, SHA1OfTheExamplesOfFIPS180) {
  EXPECT_EQ(SHA1Sum(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(SHA1Sum("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(SHA1Sum("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
  EXPECT_EQ(SHA1Sum(std::string(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(RVXDigestTest, TextsOfAnyBytesAndOfEveryPadding) {
  std::vector<std::string> texts{std::string("../\u00E4\xFF\0b", 9)};
  for (const size_t length : {54U, 55U, 56U, 57U, 63U, 64U, 65U, 119U, 120U})
    texts.push_back(patternBytes(length));
  for (const std::string& text : texts) {
    EXPECT_EQ(SHA1Sum(text), toolSHA1OfText(text)) << text.size();
    EXPECT_EQ(md5(text), toolMD5OfText(text)) << text.size();
  }
}

TEST(RVXDigestTest, PiecesGiveTheDigestOfTheWhole) {
  const std::string text = patternBytes(10000);
  for (const size_t pieceLength : {1U, 55U, 63U, 64U, 65U, 4096U, 10000U}) {
    EXPECT_EQ(digestInPieces(HashAlgorithm::SHA1, text, pieceLength), toolSHA1OfText(text)) << pieceLength;
    EXPECT_EQ(digestInPieces(HashAlgorithm::MD5, text, pieceLength), toolMD5OfText(text)) << pieceLength;
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

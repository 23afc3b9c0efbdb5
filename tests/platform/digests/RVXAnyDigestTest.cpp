#include <gtest/gtest.h>

#include <map>

#include "include/DigestString.h"
#include "platform/digests/RVXAnyDigest.h"
#include "tests/support/Files.h"

namespace {

std::string hexOf(const std::string& bytes) {
  return digestString(std::as_bytes(std::span(bytes)));
}

std::string inPieces(DigestKind kind, std::string_view text, size_t pieceLength) {
  RVXAnyDigest digest(kind);
  digest.update({});
  for (; !text.empty(); text.remove_prefix(std::min(pieceLength, text.size()))) {
    digest.update(std::as_bytes(std::span(text.substr(0, pieceLength))));
  }
  return digest.finalBytes();
}

}  // namespace

// XXH32 as xxhsum prints it; the media hash lists that have it write the decimal number, 2442465453.
TEST(RVXAnyDigestTest, EveryKindIsTheKnownOne) {
  const std::map<DigestKind, std::string> ofTakeOne = {
      {DigestKind::MD5, "58a7d90cbf2b1ced5acfeb94a7e29158"},
      {DigestKind::SHA1, "fb926abe4000bb296dfd71984bd5a2a5ac04e0d5"},
      {DigestKind::XXH32, "919510ad"},
      {DigestKind::XXH64, "5384a87f18df644b"},
      {DigestKind::XXH3, "fb949bce3f1631bd"},
      {DigestKind::XXH128, "d71608ae26ada58b328ee22fb35accf7"}};
  const std::map<DigestKind, std::string> ofNothing = {
      {DigestKind::MD5, "d41d8cd98f00b204e9800998ecf8427e"},
      {DigestKind::SHA1, "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
      {DigestKind::XXH32, "02cc5d05"},
      {DigestKind::XXH64, "ef46db3751d8e999"},
      {DigestKind::XXH3, "2d06800538d394c2"},
      {DigestKind::XXH128, "99aa06d3014798d86001c324468d497f"}};
  for (const auto& [kind, digits] : ofTakeOne) {
    EXPECT_EQ(hexOf(RVXAnyDigest::ofText(kind, "take one")), digits) << digestLabel(kind);
  }
  for (const auto& [kind, digits] : ofNothing) {
    EXPECT_EQ(hexOf(RVXAnyDigest::ofText(kind, "")), digits) << digestLabel(kind);
  }
}

TEST(RVXAnyDigestTest, C4IsSHA512) {
  EXPECT_EQ(RVXAnyDigest::ofText(DigestKind::C4, "take one"),
            RVXAnyDigest::ofText(DigestKind::SHA512, "take one"));
}

TEST(RVXAnyDigestTest, PiecesGiveTheDigestOfTheWhole) {
  const std::string text = patternBytes(10000);
  for (const DigestKind kind : kDigestKinds) {
    const std::string whole = RVXAnyDigest::ofText(kind, text);
    EXPECT_EQ(whole.size(), digestLength(kind)) << digestLabel(kind);
    for (const size_t pieceLength : {1U, 31U, 32U, 33U, 255U, 256U, 257U, 4096U}) {
      EXPECT_EQ(inPieces(kind, text, pieceLength), whole) << digestLabel(kind) << " " << pieceLength;
    }
  }
}

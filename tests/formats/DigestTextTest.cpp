#include <gtest/gtest.h>

#include "formats/DigestText.h"
#include "platform/system/RVXDigest.h"

namespace {

std::string sha512Of(std::string_view text) {
  RVXDigest digest(DigestKind::SHA512);
  digest.update(std::as_bytes(std::span(text)));
  return digest.finalBytes();
}

std::string c4Of(std::string_view text) {
  return digestText(DigestKind::C4, sha512Of(text));
}

const std::string kLargest(64, '\xFF');

}  // namespace

TEST(DigestTextTest, HexadecimalDigitsOfTheKindsLengthAndAnyCase) {
  const std::string bytes = "\x53\x84\xa8\x7f\x18\xdf\x64\x4b";
  EXPECT_EQ(digestText(DigestKind::XXH64, bytes), "5384a87f18df644b");
  EXPECT_EQ(digestOfText(DigestKind::XXH64, "5384a87f18df644b"), bytes);
  EXPECT_EQ(digestOfText(DigestKind::XXH3, "5384A87F18dF644B"), bytes);
  for (const char* wrong : {"", "5384a87f18df644", "5384a87f18df644b0", "5384a87f18df644b00",
                            "5384a87f18df644g", "5384a87f18df644 ", " 384a87f18df644b", "0x84a87f18df644b"}) {
    EXPECT_EQ(digestOfText(DigestKind::XXH64, wrong), std::nullopt) << wrong;
  }
  EXPECT_EQ(digestOfText(DigestKind::XXH128, "5384a87f18df644b"), std::nullopt);
  EXPECT_EQ(digestOfText(DigestKind::MD5, std::string(32, '0')), std::string(16, '\0'));
}

TEST(DigestTextTest, DecimalNumberBelowTwoToThe32nd) {
  EXPECT_EQ(digestOfDecimalText("2442465453"), "\x91\x95\x10\xad");
  EXPECT_EQ(digestOfDecimalText("46947589"), "\x02\xcc\x5d\x05");
  EXPECT_EQ(digestOfDecimalText("0046947589"), "\x02\xcc\x5d\x05");
  EXPECT_EQ(digestOfDecimalText("4294967295"), "\xff\xff\xff\xff");
  for (const char* wrong :
       {"", "4294967296", "00046947589", "-1", "+1", " 1", "1 ", "1.0", "0x1", "919510ad"}) {
    EXPECT_EQ(digestOfDecimalText(wrong), std::nullopt) << wrong;
  }
}

TEST(DigestTextTest, C4WithAndWithoutPadding) {
  for (const auto& [text, c4] : std::initializer_list<std::pair<std::string_view, std::string>>{
           {"take one",
            "c421Lh6TCa4T7MFUpZ93fTbYFv3wh5YEGuuzjLJPFTbi3Qc6BzvfdWP4wVX2cwrqqYf8ohouYU7Cu5kxsmv6SWTLgU"},
           {"", "c459dsjfscH38cYeXXYogktxf4Cd9ibshE3BHUo6a58hBXmRQdZrAkZzsWcbWtDg5oQstpDuni4Hirj75GEmTc1sFT"},
           {"0",
            "c41zgA3RiM67Fb4w1mXdSeroZSfb5T7Gk5uwVLjuWsyd16PEu2jb3aHbNB95h28atSkc9EtCj2pfPARG5xaz85Zs1r"},
           {"61",
            "c411b3ydC5H2MN5EQBS2qwk3rSAyw2YK21J9njqKtT7AwxLzgcdxsHajuaGkDfwNJsqVWYD2MS3j9DVfnq3NtscjNK"}}) {
    EXPECT_EQ(c4Of(text), c4) << text;
    EXPECT_EQ(digestOfText(DigestKind::C4, c4), sha512Of(text)) << text;
  }
}

TEST(DigestTextTest, C4OfAnotherForm) {
  const std::string good = c4Of("take one");
  EXPECT_EQ(digestOfText(DigestKind::C4, digestText(DigestKind::C4, kLargest)), kLargest);
  EXPECT_EQ(digestOfText(DigestKind::C4, "c4" + std::string(88, '1')), std::string(64, '\0'));
  std::string tooLarge = digestText(DigestKind::C4, kLargest);
  ASSERT_NE(tooLarge.back(), 'z');
  ++tooLarge.back();  // the next digit
  for (const std::string& wrong :
       {tooLarge, "c4" + std::string(88, 'z'), "C4" + good.substr(2), good.substr(1), good + "1",
        good.substr(0, 89), good.substr(0, 89) + "0", good.substr(0, 89) + "O", good.substr(0, 89) + "I",
        good.substr(0, 89) + "l", std::string(), std::string(90, '1')}) {
    EXPECT_EQ(digestOfText(DigestKind::C4, wrong), std::nullopt) << wrong;
  }
}

#include <gtest/gtest.h>

#include <array>

#include "include/DigestString.h"

TEST(DigestStringTest, NoBytesAreAnEmptyText) {
  EXPECT_EQ(digestString({}), "");
}

TEST(DigestStringTest, EachByteIsTwoLowerCaseDigits) {
  const std::array bytes{std::byte{0x00}, std::byte{0x0A}, std::byte{0xA0}, std::byte{0x7F}, std::byte{0xFF}};
  EXPECT_EQ(digestString(bytes), "000aa07fff");
}

TEST(DigestStringTest, AllValues) {
  for (unsigned value = 0; value < 256; ++value) {
    std::array<char, 3> expected{};
    std::snprintf(expected.data(), expected.size(), "%02x", value);
    EXPECT_EQ(digestString(std::array{static_cast<std::byte>(value)}), expected.data());
  }
}

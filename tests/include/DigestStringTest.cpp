#include <gtest/gtest.h>

#include <array>

#include "include/DigestString.h"

TEST(DigestStringTest, EachByteIsTwoLowerCaseDigitsInOrder) {
  EXPECT_EQ(digestString({}), "");
  const std::array bytes{std::byte{0x00}, std::byte{0x0A}, std::byte{0xA0}, std::byte{0x7F}, std::byte{0xFF}};
  EXPECT_EQ(digestString(bytes), "000aa07fff");
}

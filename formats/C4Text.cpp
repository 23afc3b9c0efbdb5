#include "formats/C4Text.h"

#include "include/DigestKind.h"

namespace {

constexpr std::string_view kPrefix = "c4";
constexpr std::string_view kBase58Digits = "123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz";
constexpr size_t kDigitCount = 88;
constexpr unsigned kByteValues = 256;

// Divides the number, whose bytes begin with the most significant one, and returns the remainder.
unsigned divideByBase(std::string& number) {
  unsigned remainder = 0;
  for (char& byte : number) {
    const unsigned value = remainder * kByteValues + static_cast<unsigned char>(byte);
    byte = static_cast<char>(value / kBase58Digits.size());
    remainder = static_cast<unsigned>(value % kBase58Digits.size());
  }
  return remainder;
}

// Multiplies the number by the base and adds the digit; false where its bytes can't hold that.
bool appendDigit(std::string& number, size_t digit) {
  size_t carry = digit;
  for (auto byte = number.rbegin(); byte != number.rend(); ++byte) {
    const size_t value = static_cast<unsigned char>(*byte) * kBase58Digits.size() + carry;
    *byte = static_cast<char>(value % kByteValues);
    carry = value / kByteValues;
  }
  return carry == 0;
}

}  // namespace

std::string c4Text(std::string_view digest) {
  std::string number(digest);
  std::string digits(kDigitCount, kBase58Digits.front());
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit)
    *digit = kBase58Digits[divideByBase(number)];
  return std::string(kPrefix) + digits;
}

std::optional<std::string> digestOfC4Text(std::string_view text) {
  if (text.size() != kPrefix.size() + kDigitCount || !text.starts_with(kPrefix)) return std::nullopt;
  std::string number(digestLength(DigestKind::C4), '\0');
  for (const char character : text.substr(kPrefix.size())) {
    const size_t digit = kBase58Digits.find(character);
    if (digit == std::string_view::npos || !appendDigit(number, digit)) return std::nullopt;
  }
  return number;
}

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "formats/FrameNameTemplate.h"
#include "formats/RVXFileSequence.h"
#include "platform/system/UnicodeText.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"
#include "tests/support/OutputCapture.h"

// Input: three texts, as C strings; those that are missing are empty. Numbers are drawn from them.

namespace {

constexpr const char* kNoHashes = "ERROR: Wrong arguments - missing hashes in identifier.\n";
constexpr const char* kOutOfRange = "ERROR: framenumber not in range of sequence.\n";

// The C library's formatted print of one number.
std::string printed(const std::string& format, int32_t number) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  char* text = nullptr;
  const int length = ::asprintf(&text, format.c_str(), number);
#pragma GCC diagnostic pop
  const std::string copy(text, static_cast<size_t>(length));
  std::free(text);
  return copy;
}

void expectNumberAsTheLibraryReadsIt(const std::string& text) {
  if (!std::all_of(text.begin(), text.end(), [](char byte) { return byte >= 0; })) return;
  const long number = std::strtol(text.c_str(), nullptr, 10);
  expectEqual("number", leadingNumber(text),
              static_cast<int32_t>(std::clamp<long>(number, INT_MIN, INT_MAX)));
}

// Of any identifier: what the parts must be to make it.
void expectPartsToMakeTheIdentifier(const std::string& identifier) {
  std::optional<RVXFileSequence> sequence;
  const std::string output = outputOf([&] { sequence = RVXFileSequence::initWithIdentifier(identifier); });
  expectEqual("is a sequence", sequence.has_value(), identifier.find('#') != std::string::npos);
  expectEqual("output", output, std::string(sequence ? "" : kNoHashes));
  if (!sequence) return;
  const size_t lastHash = identifier.rfind('#');
  expectEqual("postfix", sequence->postfix().value(), identifier.substr(lastHash + 1));
  expectTrue("the prefix is the beginning", identifier.starts_with(sequence->prefix().value()));
  expectEqual(
      "startFrame", sequence->startFrame(),
      static_cast<uint64_t>(int64_t{leadingNumber(identifier.substr(sequence->prefix().value().size()))}));

  const std::string beforeRun = identifier.substr(0, identifier.find_last_not_of('#', lastHash) + 1);
  const bool isRunCounted = charactersOf(beforeRun).size() >= 2;
  expectEqual("numberOfDigits", sequence->numberOfDigits(),
              static_cast<int32_t>(isRunCounted ? lastHash + 1 - beforeRun.size() : 0));
}

void expectName(const std::optional<std::string>& expected, auto nameOf) {
  std::optional<std::string> name;
  const std::string output = outputOf([&] { name = nameOf(); });
  expectEqual("file name", name, expected);
  expectEqual("output", output, std::string(expected ? "" : kOutOfRange));
}

// An identifier that is made of parts has these, and the names of its frames are made of them.
void expectIdentifierToHaveItsParts(std::string prefix, int32_t start, int32_t end, size_t digits,
                                    std::string postfix) {
  if (!prefix.empty() && decimalDigitValue(charactersOf(prefix).back().codePoint)) prefix += '_';
  std::erase(postfix, '#');
  const auto sequence = RVXFileSequence::initWithIdentifier(
      prefix + std::to_string(start) + "-" + std::to_string(end) + std::string(digits, '#') + postfix);
  expectEqual("prefix", sequence->prefix().value(), prefix);
  expectEqual("postfix", sequence->postfix().value(), postfix);
  expectEqual("startFrame", sequence->startFrame(), static_cast<uint64_t>(start));
  expectEqual("endFrameInclusive", sequence->endFrameInclusive(), static_cast<uint64_t>(end));
  expectEqual("numberOfDigits", sequence->numberOfDigits(), static_cast<int32_t>(digits));
  expectEqual("duration", sequence->duration(), static_cast<uint64_t>(int64_t{end} + 1 - start));
  if ((prefix + postfix).find('%') != std::string::npos) return;
  for (const int64_t number :
       {int64_t{start} - 1, int64_t{start}, (int64_t{start} + end) / 2, int64_t{end}, int64_t{end} + 1}) {
    std::optional<std::string> name;
    if (number >= start && number <= end) {
      const std::string format = "%0" + std::to_string(digits) + "i";
      name = prefix + printed(format, static_cast<int32_t>(number)) + postfix;
    }
    expectName(name, [&] { return sequence->filenameForFrameNumber(static_cast<uint64_t>(number)); });
    expectName(name, [&] { return sequence->filenameForIndex(static_cast<uint64_t>(number - start)); });
  }
}

void expectTextToStayInATemplate(const std::string& text, int32_t number) {
  if (text.find('%') != std::string::npos) return;
  expectEqual("no conversion", frameNameFromTemplate(text, number, 0), text);
  expectEqual("a percent sign", frameNameFromTemplate(text + "%%" + text, number, 0), text + "%" + text);
}

// The numbers that a text of any bytes stands for, one a byte, then zeros.
class Draws {
 public:
  explicit Draws(std::string text) : mText(std::move(text)) {}
  unsigned next() { return mNext < mText.size() ? static_cast<unsigned char>(mText[mNext++]) : 0; }
  // None of them or some, in any order.
  std::string someOf(const std::string& characters) {
    std::string some(next() % 4, ' ');
    for (char& character : some) character = characters[next() % characters.size()];
    return some;
  }

 private:
  std::string mText;
  size_t mNext = 0;
};

// The first conversion takes the number, as the C library prints it, when its fields are not too wide.
void expectConversionToTakeTheNumber(const std::string& drawn, int32_t number) {
  constexpr unsigned kWidestField = 300;
  Draws draws(drawn);
  const std::string flags = draws.someOf("-+ #0");
  const unsigned width = draws.next() * 2;
  const unsigned precision = draws.next() * 2;
  const std::string field = "%" + flags + (width % 4 == 0 ? "" : std::to_string(width)) +
                            (precision % 4 == 0 ? "" : "." + std::to_string(precision));
  const std::string modifier = draws.someOf("hlqjzt");
  const std::string letter(1, "diuoxX"[draws.next() % 6]);
  const bool isTooWide =
      (width % 4 != 0 && width > kWidestField) || (precision % 4 != 0 && precision > kWidestField);
  const std::string conversion = field + modifier + letter;
  expectEqual("name", frameNameFromTemplate("a" + conversion + "b", number, kWidestField),
              "a" + (isTooWide ? conversion : printed(field + letter, number)) + "b");
  expectEqual("second conversion", frameNameFromTemplate("%i" + conversion, number, kWidestField),
              std::to_string(number) + conversion);
  expectEqual("no conversion", frameNameFromTemplate(field + modifier + "y", number, kWidestField),
              field + modifier + "y");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> texts = cStringsOfInput(data, size);
  texts.resize(3);
  const int32_t number = leadingNumber(texts[1]);
  Draws draws(texts[2]);
  const int32_t start = std::max(0, number);
  const int32_t end = draws.next() % 2 == 0 ? static_cast<int32_t>(draws.next()) : start;
  for (const std::string& text : texts) {
    expectNumberAsTheLibraryReadsIt(text);
    expectPartsToMakeTheIdentifier(text);
    expectTextToStayInATemplate(text, number);
    frameNameFromTemplate(text, number, 4096);  // whatever it is, it does no harm
  }
  expectIdentifierToHaveItsParts(texts[0], start, end, 1 + draws.next() % 12, texts[2]);
  expectConversionToTakeTheNumber(texts[2], number);
  return 0;
}

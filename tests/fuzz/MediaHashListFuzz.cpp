#include <cstdint>

#include "formats/DigestText.h"
#include "formats/mhl/RVXMediaHashListReader.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"

// Input: a byte that says what list is expected, and its text.

namespace {

using Expected = RVXMediaHashListReader::Expected;

// Expects of every entry what its user relies on, and writes it down.
class Expecting : public RVXMediaHashListReader::Receiver {
 public:
  std::string notes;

 private:
  void entry(RVXMediaHash&& entry) override {
    expectTrue("length of the path",
               !entry.path.empty() && entry.path.size() <= RVXMediaHashListReader::kLongestText);
    expectTrue("length of the previous path",
               entry.previousPath.size() <= RVXMediaHashListReader::kLongestText);
    expectTrue("size", entry.size.value_or(0) >= 0);
    note(entry.line, entry.path + "\n" + entry.previousPath + "\n" + shown(entry.size));
    for (const auto& digest : entry.digests) {
      expectEqual("bytes of the digest", digest.bytes.size(), digestLength(digest.kind));
      notes += digestText(digest.kind, digest.bytes);
    }
  }
  void badLine(uint32_t line, const char* problem) override { note(line, problem); }
  void ignorePattern(const std::string& pattern) override { note(0, pattern); }
  void note(uint32_t line, const std::string& text) { notes += std::to_string(line) + " " + text + "\n"; }
};

std::string readIn(size_t pieceSize, std::string_view text, Expected expected) {
  Expecting receiver;
  RVXMediaHashListReader reader(expected, receiver);
  while (!text.empty() && reader.take(text.substr(0, pieceSize))) {
    text.remove_prefix(std::min(text.size(), pieceSize));
  }
  reader.finish();
  return receiver.notes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto expected = static_cast<Expected>(data[0] % 3);
  const std::string text = textOfInput(data + 1, size - 1);
  expectEqual("byte by byte as at once", readIn(1, text, expected), readIn(text.size(), text, expected));
  return 0;
}

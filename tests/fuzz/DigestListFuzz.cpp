#include <cstdint>

#include "formats/RVXDigestListReader.h"
#include "include/DigestString.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"
#include "tests/fuzz/MemoryFile.h"

// Input: the text of a list of digests.

namespace {

std::string escaped(const std::string& name) {
  std::string text;
  for (const char byte : name) {
    if (byte == '\\') text += '\\';
    if (byte == '\n' || byte == '\r') text += '\\';
    text += byte == '\n' ? 'n' : byte == '\r' ? 'r' : byte;
  }
  return text;
}

// Expects of every line that it is told at most once, and in order, and of an entry that all forms mean it.
class Expecting : public RVXDigestListReader::Receiver {
 public:
  uint32_t lastLine = 0;

 private:
  void entry(uint32_t line, RVXDigestLine&& entry) override {
    expectNext(line);
    expectEqual("bytes of the digest", entry.digest.size(), digestLength(entry.kind));
    const std::string hex = digestString(std::as_bytes(std::span(entry.digest)));
    const std::string name = escaped(entry.name);
    expectMeant(entry, "\\" + hex + "  " + name);
    expectMeant(entry, std::string("\\") + digestLabel(entry.kind) + " (" + name + ") = " + hex);
  }

  static void expectMeant(const RVXDigestLine& entry, const std::string& line) {
    const auto parsed = RVXDigestLine::parse(line);
    expectTrue("is an entry", std::holds_alternative<RVXDigestLine>(parsed));
    const auto& again = std::get<RVXDigestLine>(parsed);
    expectTrue("kind", again.kind == entry.kind);
    expectEqual("digest", again.digest, entry.digest);
    expectEqual("name", again.name, entry.name);
  }

  void badLine(uint32_t line, const char* /*problem*/) override { expectNext(line); }
  void originalFiles(std::string_view /*text*/) override {}

  void expectNext(uint32_t line) {
    expectTrue("lines in order", line > lastLine);
    lastLine = line;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = textOfInput(data, size);
  const MemoryFile file(text);
  Expecting receiver;
  expectTrue("is read", RVXDigestListReader::read(file.path(), receiver).succeeded());
  expectTrue("as many lines as there are", receiver.lastLine <= piecesEndedBy('\n', text).size());
  return 0;
}

#include <iconv.h>

#include <algorithm>
#include <cstdint>
#include <map>

#include "formats/RVXHashList.h"
#include "formats/RVXHashListLine.h"
#include "formats/StandardizedPath.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"
#include "tests/fuzz/MemoryFile.h"
#include "tests/support/OutputCapture.h"

// Input: the text of a hash list. Its lines serve as file names, too.

namespace {

using Entries = std::map<std::string, std::string>;  // file name to "LABEL:DIGEST"

constexpr const char* kOriginalFiles = "/card/clip.mov";

Entries entriesReadBy(const RVXHashList& list) {
  Entries entries;
  for (const std::string& name : list.filePaths()) entries[name] = list.hashStringForFile(name).value();
  return entries;
}

// As the C library sees it, which has no room in UTF-16 for what is beyond Unicode.
bool isUTF8(std::string text) {
  static const iconv_t converter = ::iconv_open("UTF-16LE", "UTF-8");
  std::string converted(2 * text.size(), ' ');
  char *in = text.data(), *out = converted.data();
  size_t inLeft = text.size(), outLeft = converted.size();
  ::iconv(converter, nullptr, nullptr, nullptr, nullptr);
  return ::iconv(converter, &in, &inLeft, &out, &outLeft) == 0 && inLeft == 0;
}

// What a list of these lines comes to when they are read one by one.
struct Reading {
  std::optional<Entries> entries;
  std::string output;

  static Reading of(const std::string& path, const std::string& text) {
    if (!isUTF8(text)) return {std::nullopt, "ERROR: couldn't read hash file " + path + ".\n"};
    Entries entries;
    int number = 0;
    for (const std::string& line : piecesEndedBy('\n', text)) {
      ++number;
      if (line.empty() || line[0] == '#') continue;
      const auto entry = RVXHashListLine::parse(line);
      if (!entry) {
        // What is printed is a C string.
        return {std::nullopt, "ERROR: couldn't parse hash file in line #" + std::to_string(number) + ": " +
                                  line.c_str() + "\n"};
      }
      entries[entry->name] = entry->label + ":" + entry->digest;
    }
    return {entries, ""};
  }
};

// The list as read from the text at once, after the comparison with its lines.
std::optional<RVXHashList> readAsItsLines(const std::string& text) {
  const MemoryFile file(text);
  std::optional<RVXHashList> list;
  const std::string output = outputOf([&] { list = RVXHashList::initWithPath(file.path()); });
  const Reading expected = Reading::of(file.path(), text);
  expectEqual("output", output, expected.output);
  expectEqual("is a list", list.has_value(), expected.entries.has_value());
  if (list) expectEqual("entries", entriesReadBy(*list), *expected.entries);
  return list;
}

// The written text; its header is as it has to be.
std::string written(RVXHashList list) {
  const MemoryFile file;
  list.setOriginalFiles(kOriginalFiles);
  bool isWritten = false;
  const std::string output = outputOf([&] { isWritten = list.writeToFile(file.path(), false); });
  expectTrue("is written", isWritten);
  expectEqual("output", output, std::string());
  return file.bytes();
}

// The lines after the header.
std::string writtenEntryLines(const std::string& text) {
  const size_t second = text.find('\n') + 1;
  const size_t third = text.find('\n', second) + 1;
  expectTrue("first line", text.starts_with("# hash created by rvxvscopy by "));
  expectEqual("second line", text.substr(second, third - second),
              std::string("# original file(s): ") + kOriginalFiles + " \n");
  return text.substr(third);
}

std::string labelOf(size_t i) {
  return i % 2 == 0 ? "SHA1" : "MD5";
}

size_t digestLengthOf(const std::string& label) {
  return label == "SHA1" ? 40 : 32;
}

// In the order of the names. A value with a second colon has no line: its digest is none.
std::string entryLines(const Entries& entries) {
  std::string lines;
  for (const auto& [name, value] : entries) {
    if (std::count(value.begin(), value.end(), ':') > 1) continue;
    const std::string label = value.substr(0, value.find(':'));
    lines += label + "(" + name + ")= " + value.substr(label.size() + 1) + "\n";
  }
  return lines;
}

// True for a name that is read as it was written. No line end is asked for: none is in a line.
bool isCarried(const std::string& name) {
  return !name.empty() && isUTF8(name) && name.find(")=") == std::string::npos &&
         standardizedPath(name) == name;
}

// Some digest; neighbours have different ones.
std::string digestOf(size_t i) {
  return std::string(digestLengthOf(labelOf(i)), "0123456789abcdef"[i % 16]);
}

// White space in front of a line and blanks in its digest change nothing, and an entry's own line is that
// entry.
void expectEntryToBeReadAlike(const std::string& line) {
  const auto entry = RVXHashListLine::parse(line);
  const std::string behindWhiteSpace = " \t\v\f\r" + line;
  expectEqual("is an entry", RVXHashListLine::parse(behindWhiteSpace).has_value(), entry.has_value());
  if (!entry) return;
  if (isUTF8(entry->digest)) {
    const auto characters = std::count_if(entry->digest.begin(), entry->digest.end(),
                                          [](unsigned char byte) { return (byte & 0xC0U) != 0x80U; });
    expectEqual("characters of a digest", static_cast<size_t>(characters), digestLengthOf(entry->label));
  }
  expectTrue("no blank in a digest", entry->digest.find(' ') == std::string::npos);
  const std::string own = entry->label + "(" + entry->name + ")= " + entry->digest;
  for (const std::string& other : {behindWhiteSpace, line + " ", own}) {
    if (other == own && !isCarried(entry->name)) continue;
    const auto again = RVXHashListLine::parse(other);
    expectTrue("is an entry again", again.has_value());
    expectEqual("label", again->label, entry->label);
    expectEqual("name", again->name, entry->name);
    expectEqual("digest", again->digest, entry->digest);
  }
}

// A list that names the lines of the text as its files.
void expectWrittenToBeUnderstood(const std::vector<std::string>& names) {
  RVXHashList list = RVXHashList::init();
  Entries entries;
  for (size_t i = 0; i < names.size(); ++i) {
    list.addHash(digestOf(i), labelOf(i), names[i]);
    entries[names[i]] = labelOf(i) + ":" + digestOf(i);
  }
  const std::string text = written(list);
  expectEqual("written entries", writtenEntryLines(text), entryLines(entries));
  const auto readBack = readAsItsLines(text);
  if (!std::all_of(names.begin(), names.end(), isCarried)) return;
  expectTrue("can be read back", readBack.has_value());
  expectEqual("read back", entriesReadBy(*readBack), entries);
}

// What was read stays in a list to which something is added; the read value hides an added one of its name.
void expectAddedBesideRead(RVXHashList list) {
  const Entries read = entriesReadBy(list);
  Entries all = read;
  const std::string added = read.empty() ? "added" : read.begin()->first;
  list.addHash(digestOf(0), labelOf(0), added);
  all[added] = labelOf(0) + ":" + digestOf(0);
  expectEqual("written entries", writtenEntryLines(written(list)), entryLines(all));
  expectEqual("value", list.hashStringForFile(added),
              std::optional(read.empty() ? all[added] : read.at(added)));
  expectEqual("entries that were read", entriesReadBy(list).size(), read.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = textOfInput(data, size);
  const std::vector<std::string> lines = piecesEndedBy('\n', text);
  if (const auto list = readAsItsLines(text)) expectAddedBesideRead(*list);
  for (const std::string& line : lines) expectEntryToBeReadAlike(line);
  expectWrittenToBeUnderstood(lines);
  return 0;
}

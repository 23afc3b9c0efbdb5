#include <algorithm>
#include <cstdint>

#include "formats/RVXHashList.h"
#include "formats/RVXHashListLine.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/HashListModel.h"
#include "tests/fuzz/InputText.h"
#include "tests/fuzz/MemoryFile.h"
#include "tests/support/ChecksumLine.h"
#include "tests/support/OutputCapture.h"

// Input: the text of a hash list. Its lines serve as file names, too.

namespace {

using Entries = HashListModel::Entries;

constexpr const char* kOriginalFiles = "/card/clip.mov";

Entries entriesReadBy(const RVXHashList& list) {
  Entries entries;
  for (const std::string& name : list.filePaths()) entries[name] = list.hashStringForFile(name).value();
  return entries;
}

// The list as read from the text, after the comparison with the model.
std::optional<RVXHashList> readAsModelled(const std::string& text) {
  const MemoryFile file(text);
  std::optional<RVXHashList> list;
  const std::string output = outputOf([&] { list = RVXHashList::initWithPath(file.path()); });
  const auto model = HashListModel::read(file.path(), text);
  expectEqual("output", output, model.output);
  expectEqual("is a list", list.has_value(), model.entries.has_value());
  if (list) expectEqual("entries", entriesReadBy(*list), *model.entries);
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

// The lines behind the header.
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

// Some digest; neighbours have different ones.
std::string digestOf(size_t i) {
  return std::string(digestLengthOf(labelOf(i)), "0123456789abcdef"[i % 16]);
}

// Where the tools understand a line that is an entry of a list, they understand the same. A line of their
// other form is no entry.
void expectAgreementWithTools(const std::string& line) {
  if (line.find('\0') != std::string::npos) return;
  const auto entry = RVXHashListLine::parse(line);
  for (const char* label : {"SHA1", "MD5"}) {
    const auto understood = ChecksumLine::parse(line, label, digestLengthOf(label));
    if (!entry || !understood) continue;
    expectEqual("label", entry->label, std::string(label));
    expectEqual("digest", entry->digest, understood->digest);
    // The entry of an empty name is the key "(".
    const std::string name = understood->name.empty() ? "(" : understood->name;
    expectEqual("name", entry->name, PathTextModel::standardized(name));
  }
}

// The tools find in an entry's line the name and the digest that were entered.
void expectToolsToUnderstandEntry(const std::string& name, const std::string& label,
                                  const std::string& digest) {
  if (!HashListModel::isCarried(name) || name.find('\0') != std::string::npos) return;
  std::string line = HashListModel::entryLines({{name, label + ":" + digest}});
  line.pop_back();
  const auto understood = ChecksumLine::parse(line, label, digestLengthOf(label));
  expectTrue("the tools understand the entry", understood.has_value());
  expectEqual("name", understood->name, name);
  expectEqual("digest", understood->digest, digest);
}

// A list that names the lines of the text as its files.
void expectWrittenToBeUnderstood(const std::vector<std::string>& names) {
  RVXHashList list = RVXHashList::init();
  Entries entries;
  for (size_t i = 0; i < names.size(); ++i) {
    list.addHash(digestOf(i), labelOf(i), names[i]);
    entries[names[i]] = labelOf(i) + ":" + digestOf(i);
    expectToolsToUnderstandEntry(names[i], labelOf(i), digestOf(i));
  }
  const std::string text = written(list);
  expectEqual("written entries", writtenEntryLines(text), HashListModel::entryLines(entries));
  const auto readBack = readAsModelled(text);
  if (!std::all_of(names.begin(), names.end(), HashListModel::isCarried)) return;
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
  expectEqual("written entries", writtenEntryLines(written(list)), HashListModel::entryLines(all));
  expectEqual("value", list.hashStringForFile(added),
              std::optional(read.empty() ? all[added] : read.at(added)));
  expectEqual("entries that were read", entriesReadBy(list).size(), read.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = textOfInput(data, size);
  const std::vector<std::string> lines = piecesEndedBy('\n', text);
  if (const auto list = readAsModelled(text)) expectAddedBesideRead(*list);
  for (const std::string& line : lines) expectAgreementWithTools(line);
  expectWrittenToBeUnderstood(lines);
  return 0;
}

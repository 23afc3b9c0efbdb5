#include "formats/RVXHashList.h"

#include "formats/CPSystemInformation.h"
#include "formats/RVXHashListLine.h"
#include "include/Print.h"
#include "include/SplitText.h"
#include "platform/files/TextFile.h"
#include "platform/system/Host.h"
#include "platform/system/UTCTime.h"
#include "platform/system/UnicodeText.h"

namespace {

std::string entryValue(const std::string& label, const std::string& digest) {
  return label + ":" + digest;
}

// The line of an entry; empty for a value that is not exactly a label, a colon, which all have, and a digest.
std::string entryLine(const std::string& fileName, const std::string& value) {
  const size_t colon = value.find(':');
  if (value.find(':', colon + 1) != std::string::npos) return "";
  return value.substr(0, colon) + "(" + fileName + ")= " + value.substr(colon + 1) + "\n";
}

}  // namespace

RVXHashList RVXHashList::init() {
  return {};
}

std::optional<RVXHashList> RVXHashList::initWithPath(const std::string& path) {
  const auto text = readTextFile(path);
  if (text.failed() || !isValidUTF8(text.value())) {
    print("ERROR: couldn't read hash file %s.\n", path.c_str());
    return std::nullopt;
  }
  RVXHashList list;
  list.mHashes = entriesOfText(text.value());
  if (!list.mHashes) return std::nullopt;
  return list;
}

void RVXHashList::addHash(const std::string& hash, const std::string& hashType, const std::string& fileName) {
  if (!mHashesMutable) mHashesMutable = mHashes.value_or(Entries{});
  (*mHashesMutable)[fileName] = entryValue(hashType, hash);
}

std::optional<std::string> RVXHashList::hashStringForFile(const std::string& fileName) const {
  for (const auto* entries : {&mHashes, &mHashesMutable}) {
    if (!*entries) continue;
    const auto entry = (*entries)->find(fileName);
    if (entry != (*entries)->end()) return entry->second;
  }
  return std::nullopt;
}

bool RVXHashList::writeToFile(const std::optional<std::string>& path, bool atomically) {
  if (!path) {
    print("ERROR: can't write hashfile to empty path");  // without a line end, as its readers know it
    return false;
  }
  if (!mOriginalFiles) mOriginalFiles = "?";
  std::string text = header();
  if (mHashesMutable) {
    for (const auto& [fileName, value] : *mHashesMutable) text += entryLine(fileName, value);
  }
  if (writeTextFile(*path, text, atomically).failed()) {
    print("ERROR: couldn't write hash file to %s\n", path->c_str());
    return false;
  }
  return true;
}

std::vector<std::string> RVXHashList::filePaths() const {
  std::vector<std::string> paths;
  if (mHashes) {
    for (const auto& [fileName, value] : *mHashes) paths.push_back(fileName);
  }
  return paths;
}

std::optional<RVXHashList::Entries> RVXHashList::entriesOfText(std::string_view text) {
  Entries entries;
  unsigned long number = 0;
  for (const std::string_view line : splitAt(text, '\n')) {
    ++number;
    if (line.empty() || line.starts_with('#')) continue;
    const auto entry = RVXHashListLine::parse(line);
    if (!entry) {
      print("ERROR: couldn't parse hash file in line #%lu: %s\n", number, std::string(line).c_str());
      return std::nullopt;
    }
    entries[entry->name] = entryValue(entry->label, entry->digest);
  }
  return entries;
}

std::string RVXHashList::header() const {
  // "rvxvscopy" and the blank before the last line end are what readers of these lists have always met.
  return "# hash created by rvxvscopy by " + environmentVariable("USER").value_or("?") + " on " +
         CPSystemInformation::computerName() + " " + utcText(currentTime(), "Y-M-D h:m:s +0000") +
         "\n# original file(s): " + *mOriginalFiles + " \n";
}

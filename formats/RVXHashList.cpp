#include "formats/RVXHashList.h"

#include <array>
#include <chrono>
#include <cstdio>

#include "formats/CPSystemInformation.h"
#include "formats/RVXHashListLine.h"
#include "include/Print.h"
#include "platform/files/RVXTextFile.h"
#include "platform/system/RVXHost.h"
#include "platform/system/RVXUnicodeText.h"

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

// Without the C library's time zones: it reads files for them, whose leap seconds shift UTC as well.
std::string currentTimeText() {
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const auto today = std::chrono::floor<std::chrono::days>(now);
  const std::chrono::year_month_day date(today);
  const std::chrono::hh_mm_ss time(now - today);
  std::array<char, 64> text;
  const int length =
      std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d +0000",
                    static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                    static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                    static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  return {text.data(), static_cast<size_t>(length)};
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
  for (unsigned long number = 1;; ++number) {
    const size_t lineEnd = text.find('\n');
    const std::string_view line = text.substr(0, lineEnd);
    if (!line.empty() && !line.starts_with('#')) {
      const auto entry = RVXHashListLine::parse(line);
      if (!entry) {
        print("ERROR: couldn't parse hash file in line #%lu: %s\n", number, std::string(line).c_str());
        return std::nullopt;
      }
      entries[entry->name] = entryValue(entry->label, entry->digest);
    }
    if (lineEnd == std::string_view::npos) return entries;
    text.remove_prefix(lineEnd + 1);
  }
}

std::string RVXHashList::header() const {
  // "rvxvscopy" and the blank before the last line end are what readers of these lists have always met.
  return "# hash created by rvxvscopy by " + environmentVariable("USER").value_or("?") + " on " +
         CPSystemInformation::computerName() + " " + currentTimeText() +
         "\n# original file(s): " + *mOriginalFiles + " \n";
}

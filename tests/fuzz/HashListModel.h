#pragma once

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <string>

#include "tests/fuzz/CharacterModel.h"
#include "tests/fuzz/InputText.h"
#include "tests/fuzz/PathTextModel.h"

// What is read from the text of a hash list, and what is written.
class HashListModel {
 public:
  // File name to "LABEL:DIGEST".
  using Entries = std::map<std::string, std::string>;

  struct Reading {
    std::optional<Entries> entries;
    std::string output;
  };

  static Reading read(const std::string& path, const std::string& text) {
    if (!isText(text)) return {std::nullopt, "ERROR: couldn't read hash file " + path + ".\n"};
    Entries entries;
    int number = 0;
    for (const std::string& line : piecesEndedBy('\n', text)) {
      ++number;
      if (line.empty() || line[0] == '#') continue;
      if (!readLine(line, entries)) return {std::nullopt, parseFailure(number, line)};
    }
    return {entries, ""};
  }

  // In the order of the names. A value with a second colon has no line: its digest is none.
  static std::string entryLines(const Entries& entries) {
    std::string lines;
    for (const auto& [name, value] : entries) {
      if (std::count(value.begin(), value.end(), ':') > 1) continue;
      const std::string label = value.substr(0, value.find(':'));
      lines += label + "(" + name + ")= " + value.substr(label.size() + 1) + "\n";
    }
    return lines;
  }

  // True for a name that is read as it was written. No line end is asked for: none is in a line.
  static bool isCarried(const std::string& name) {
    return !name.empty() && isText(name) && name.find(")=") == std::string::npos &&
           PathTextModel::standardized(name) == name;
  }

  static bool isText(const std::string& text) {
    const auto characters = CharacterModel::ofText(text);
    return std::all_of(characters.begin(), characters.end(),
                       [](const CharacterModel& character) { return character.isValid; });
  }

 private:
  static std::string parseFailure(int number, const std::string& line) {
    // What is printed is a C string.
    return "ERROR: couldn't parse hash file in line #" + std::to_string(number) + ": " + line.c_str() + "\n";
  }

  static bool readLine(std::string line, Entries& entries) {
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line[0])) != 0) line.erase(0, 1);
    const std::string label = takenUpTo("(", line);
    if (label != "SHA1" && label != "MD5") return false;
    if (line.find(")=") == std::string::npos) return false;
    std::string name = takenUpTo(")=", line);
    if (name.size() > 1) name.erase(0, 1);
    std::string digest;
    std::remove_copy(line.begin() + 2, line.end(), std::back_inserter(digest), ' ');
    if (CharacterModel::ofText(digest).size() != (label == "MD5" ? 32U : 40U)) return false;
    entries[PathTextModel::standardized(name)] = label + ":" + digest;
    return true;
  }

  // What stands before `end`, or the whole; the text keeps the rest.
  static std::string takenUpTo(const std::string& end, std::string& text) {
    const std::string taken = text.substr(0, text.find(end));
    text.erase(0, taken.size());
    return taken;
  }
};

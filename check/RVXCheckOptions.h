#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/files/RVXNamePattern.h"

// A list that is to be written after a clean check.
enum class RVXNewList { none, mhl, ascmhl };

// What the command line asks for.
struct RVXCheckOptions {
  bool tellsGoodFiles = false;        // -v
  bool isQuiet = false;               // -q
  std::optional<size_t> filesAtOnce;  // -j, on each disk
  std::vector<RVXNamePattern> ignored;
  std::optional<std::string> card;
  size_t copies = 2;
  RVXNewList newList = RVXNewList::none;  // --mhl, --ascmhl
  std::vector<std::string> paths;         // without trailing slashes; not looked at yet

  static constexpr size_t kMostFilesAtOnce = 64;

  enum class Wish { help, version };

  // The options, what is asked for instead of a check, or the line that says what is wrong with them.
  static std::variant<RVXCheckOptions, Wish, std::string> parse(int argumentCount, char* argumentVector[]);

  static const char* usage();
  static const char* help();
};

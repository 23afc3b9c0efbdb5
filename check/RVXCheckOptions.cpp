#include "check/RVXCheckOptions.h"

#include <array>
#include <charconv>
#include <cstdint>

#include "platform/files/PathText.h"
#include "platform/system/RVXOptionReader.h"

namespace {

using Read = RVXOptionReader::Read;

constexpr auto kKnown = std::to_array<RVXOptionReader::Known>({{'v', nullptr, false},
                                                               {'q', nullptr, false},
                                                               {'j', nullptr, true},
                                                               {'\0', "ignore", true},
                                                               {'\0', "card", true},
                                                               {'\0', "copies", true},
                                                               {'\0', "mhl", false},
                                                               {'\0', "ascmhl", false},
                                                               {'\0', "help", false},
                                                               {'\0', "version", false}});

std::optional<size_t> numberBetween(const std::string& text, size_t least, size_t most) {
  size_t number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end || number < least || number > most) return std::nullopt;
  return number;
}

// The options as they are taken one after another.
class Taker {
 public:
  // What is wrong with this one; empty: nothing.
  std::string take(const Read& read) {
    switch (read.kind) {
      case Read::Kind::unknown:
        return "unknown option " + read.option;
      case Read::Kind::valueMissing:
        return "option " + read.option + " needs a value";
      case Read::Kind::operand:
        options.paths.emplace_back(withoutTrailingSlashes(read.value));
        return "";
      case Read::Kind::option:
        return takeOption(read.option, read.value);
    }
    return "";
  }

  // What is wrong with all of them together.
  [[nodiscard]] std::string missing() const {
    if (copiesAreGiven && !options.card) return "--copies needs --card";
    return options.paths.empty() ? "no PATH given" : "";
  }

  RVXCheckOptions options;

 private:
  std::string takeOption(const std::string& option, const std::string& value) {
    if (option == "v") options.tellsGoodFiles = true;
    if (option == "q") options.isQuiet = true;
    if (option == "ignore") options.ignored.emplace_back(value);
    if (option == "card") options.card = withoutTrailingSlashes(value);
    if (option == "mhl") return takeNewList(RVXNewList::mhl);
    if (option == "ascmhl") return takeNewList(RVXNewList::ascmhl);
    if (option == "j") {
      options.filesAtOnce = numberBetween(value, 1, RVXCheckOptions::kMostFilesAtOnce);
      if (!options.filesAtOnce) return "-j takes a number from 1 to 64";
    }
    if (option == "copies") {
      const auto copies = numberBetween(value, 1, UINT16_MAX);
      if (!copies) return "--copies takes a number from 1";
      options.copies = *copies;
      copiesAreGiven = true;
    }
    return "";
  }

  std::string takeNewList(RVXNewList list) {
    const bool isOther = options.newList != RVXNewList::none && options.newList != list;
    options.newList = list;
    return isOther ? "--mhl and --ascmhl exclude each other" : "";
  }

  bool copiesAreGiven = false;
};

}  // namespace

std::variant<RVXCheckOptions, RVXCheckOptions::Wish, std::string> RVXCheckOptions::parse(
    int argumentCount, char* argumentVector[]) {
  Taker taker;
  for (const Read& read : RVXOptionReader::readAll(argumentCount, argumentVector, kKnown)) {
    const bool isOption = read.kind == Read::Kind::option;
    if (isOption && read.option == "help") return Wish::help;
    if (isOption && read.option == "version") return Wish::version;
    if (std::string wrong = taker.take(read); !wrong.empty()) return wrong;
  }
  if (std::string wrong = taker.missing(); !wrong.empty()) return wrong;
  return taker.options;
}

const char* RVXCheckOptions::usage() {
  return "Usage: rvxcheck [-v] [-q] [-j N] [--ignore GLOB]... [--mhl | --ascmhl] PATH...\n"
         "       rvxcheck [-v] [-q] [-j N] [--ignore GLOB]... [--mhl | --ascmhl]\n"
         "                --card CARD [--copies N] PATH...\n"
         "       rvxcheck --help | --version\n";
}

const char* RVXCheckOptions::help() {
  return "\n"
         "Checks whether the files below each PATH are still what the hash lists there say, and with\n"
         "--card whether every file on a camera card is among them, on enough disks.\n"
         "\n"
         "  -v             print a line for each good file, too\n"
         "  -q             show no progress\n"
         "  -j N           read N files at once on each disk, 1 to 64\n"
         "  --ignore GLOB  files of such a name need not be listed, nor be safe\n"
         "  --card CARD    tell whether the card may be formatted\n"
         "  --copies N     on how many different disks each of its files must be (default: 2)\n"
         "  --mhl          write an MHL 1.1 list of all files below each PATH that is found clean\n"
         "  --ascmhl       write the next generation of its ASC MHL history, or the first one\n";
}

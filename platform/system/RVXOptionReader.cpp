#include "platform/system/RVXOptionReader.h"

#include <getopt.h>

namespace {

constexpr int kOperand = 1;      // what the leading "-" of the letters asks for
constexpr int kFirstLong = 256;  // a long option's code: above every letter

struct Tables {
  std::string letters = "-:";  // in order, and a missing value told apart
  std::vector<option> longOptions;
};

Tables tablesOf(std::span<const RVXOptionReader::Known> known) {
  Tables tables;
  for (size_t i = 0; i < known.size(); ++i) {
    if (known[i].letter != '\0') {
      tables.letters += known[i].letter;
      if (known[i].takesValue) tables.letters += ':';
    } else {
      tables.longOptions.push_back({known[i].name, known[i].takesValue ? required_argument : no_argument,
                                    nullptr, kFirstLong + static_cast<int>(i)});
    }
  }
  tables.longOptions.push_back({});
  return tables;
}

// What was given where getopt knows no such option, or no value for it.
std::string givenOption(char* argumentVector[]) {
  if (optopt > 0 && optopt < kFirstLong) return std::string("-") + static_cast<char>(optopt);
  return argumentVector[optind - 1];
}

}  // namespace

std::vector<RVXOptionReader::Read> RVXOptionReader::readAll(int argumentCount, char* argumentVector[],
                                                            std::span<const Known> known) {
  const Tables tables = tablesOf(known);
  std::vector<Read> read;
  opterr = 0;
  while (true) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): as the header says
    const int code = ::getopt_long(argumentCount, argumentVector, tables.letters.c_str(),
                                   tables.longOptions.data(), nullptr);
    if (code < 0) break;
    const std::string value = optarg != nullptr ? optarg : "";
    if (code == kOperand) {
      read.push_back({Read::Kind::operand, "", value});
    } else if (code == '?' || code == ':') {
      const auto kind = code == '?' ? Read::Kind::unknown : Read::Kind::valueMissing;
      read.push_back({kind, givenOption(argumentVector), ""});
    } else {
      const bool isLong = code >= kFirstLong;
      const std::string name = isLong ? known[static_cast<size_t>(code - kFirstLong)].name
                                      : std::string(1, static_cast<char>(code));
      read.push_back({Read::Kind::option, name, value});
    }
  }
  for (int i = optind; i < argumentCount; ++i) read.push_back({Read::Kind::operand, "", argumentVector[i]});
  return read;
}

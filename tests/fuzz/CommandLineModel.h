#pragma once

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "frontend/CopyJobOptions.h"
#include "tests/frontend/ExpectedUsage.h"
#include "tests/fuzz/FileSequenceModel.h"
#include "tests/fuzz/LenientNumberModel.h"

// What a command line comes to: arguments are first told apart as a whole and only then asked for their
// meaning.
class CommandLineModel {
 public:
  using Arguments = std::vector<std::string>;

  // The status that the program ends with, none where the run goes on; and what is printed.
  struct Outcome {
    std::optional<int> status;
    std::string output;
  };

  static constexpr int kTooFewArguments = 100;

  explicit CommandLineModel(const Arguments& arguments)
      : mArgumentCount(arguments.size()), mItems(itemsOf(arguments)) {}

  // Without the output of too few arguments, of which a part is free.
  [[nodiscard]] Outcome outcome() const {
    if (mArgumentCount < 2) return {kTooFewArguments, ""};
    for (const Item& item : mItems) {
      if (const auto refused = refusalOf(item)) return *refused;
    }
    if (texts().empty()) return refusal(102, "ERROR: Wrong arguments - missing source movie or sequence.");
    if (texts().size() < 2) return refusal(103, "ERROR: Wrong arguments - missing destination path.");
    return has('s') ? outcomeOfSequence() : outcomeOfSource(texts()[0]);
  }

  // Only where the run goes on.
  [[nodiscard]] CopyJobOptions options() const {
    CopyJobOptions options;
    options.verbose = has('v');
    options.isSequence = has('s');
    options.forceOverwrite = has('f');
    options.skipVerification = has('n');
    if (has('p')) options.preserveDepth = leadingNumberInModel(lastValueOf('p'));
    if (has('t') && lastValueOf('t') == "md5") options.algorithm = HashAlgorithm::MD5;
    if (has('o')) options.writeHashList = leadingNumberInModel(lastValueOf('o')) != 0;
    options.sourceArgument = texts()[0];
    const Arguments all = texts();
    options.destinationArguments.assign(all.begin() + 1, all.end());
    return options;
  }

 private:
  static constexpr char kNoOption = ' ';

  // An option with its value, where it takes one and has one; or an argument that is none, as the value.
  struct Item {
    char option;
    std::optional<std::string> value;
  };

  static std::vector<Item> itemsOf(const Arguments& arguments) {
    std::vector<Item> items;
    for (size_t i = 0; i < arguments.size(); ++i) {
      const char option = optionOf(arguments[i]);
      if (option == kNoOption) {
        items.push_back({option, arguments[i]});
      } else if (!takesValue(option) || i + 1 == arguments.size()) {
        items.push_back({option, std::nullopt});
      } else {
        items.push_back({option, arguments[++i]});
      }
    }
    return items;
  }

  static char optionOf(const std::string& argument) {
    const bool isOption = argument.size() >= 2 && argument[0] == '-' &&
                          std::string("vsfpton").find(argument[1]) != std::string::npos;
    return isOption ? argument[1] : kNoOption;
  }

  static bool takesValue(char option) { return option == 'p' || option == 't' || option == 'o'; }

  static Outcome refusal(int status, const std::string& error) {
    return {status, error + "\n\n" + kExpectedUsage};
  }

  static std::optional<Outcome> refusalOf(const Item& item) {
    if (item.option == 'p') {
      const int depth = item.value ? leadingNumberInModel(*item.value) : 7;
      if (depth < 0 || depth > 6) {
        return refusal(106, "ERROR: Wrong arguments - -p must be followed by a number between 0 and 6.");
      }
    }
    if (item.option == 't' && item.value != "md5" && item.value != "sha1") {
      return refusal(108, "ERROR: Wrong arguments - -t must be followed by md5 or sha1.");
    }
    if (item.option == 'o' && !item.value) {
      return refusal(109, "ERROR: Wrong arguments - -o needs to be followed by 0 (false) or 1 (true)");
    }
    return std::nullopt;
  }

  [[nodiscard]] bool has(char option) const {
    return std::any_of(mItems.begin(), mItems.end(), [=](const Item& item) { return item.option == option; });
  }

  [[nodiscard]] std::string lastValueOf(char option) const {
    return std::find_if(mItems.rbegin(), mItems.rend(),
                        [=](const Item& item) { return item.option == option; })
        ->value.value();
  }

  [[nodiscard]] Arguments texts() const {
    Arguments texts;
    for (const Item& item : mItems) {
      if (item.option == kNoOption) texts.push_back(*item.value);
    }
    return texts;
  }

  [[nodiscard]] Outcome outcomeOfSequence() const {
    const auto sequence = FileSequenceModel::ofIdentifier(texts()[0]);
    if (!sequence) {
      return refusal(113,
                     FileSequenceModel::kNoHashes + std::string("ERROR: Can't parse sequence identifier."));
    }
    if (const auto firstFrame = sequence->fileNameOfIndex(0)) return outcomeOfSource(*firstFrame);
    return refusal(104,
                   FileSequenceModel::kOutOfRange + std::string("ERROR: Source path (null) does not exist."));
  }

  static Outcome outcomeOfSource(const std::string& path) {
    std::error_code ignored;
    if (std::filesystem::is_symlink(std::filesystem::symlink_status(path, ignored))) return {};
    const auto target = std::filesystem::status(path, ignored);
    if (!std::filesystem::exists(target))
      return refusal(104, "ERROR: Source path " + path + " does not exist.");
    if (std::filesystem::is_directory(target))
      return refusal(104, "ERROR: Source path " + path + " is not a file.");
    return {};
  }

  size_t mArgumentCount;
  std::vector<Item> mItems;
};

#include <cstdint>
#include <functional>
#include <set>

#include "frontend/CommandLine.h"
#include "tests/fuzz/EndedProcess.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"
#include "tests/support/OutputCapture.h"

// Input: the arguments, as C strings. Nothing is copied: it goes as far as the check of the source.

namespace {

using Arguments = std::vector<std::string>;

struct Parsed {
  std::optional<CopyJobOptions> options;  // none where the run ends
  int status = 0;
  std::string output;
};

Parsed parsed(const std::function<CopyJobOptions()>& parse) {
  Parsed result;
  const OutputCapture capture;
  try {
    result.options = parse();
  } catch (const EndedProcess& end) {
    result.status = static_cast<int>(end.status);
  }
  result.output = capture.text();
  return result;
}

Parsed parsed(const Arguments& arguments) {
  return parsed([&] {
    requireTwoArguments(arguments);
    return parseArguments(arguments);
  });
}

// The texts and which of them goes with which status are shown by stored runs.
void expectRefusal(const Parsed& refused, const std::set<int>& statuses) {
  expectTrue("a documented status", statuses.contains(refused.status));
  expectTrue("ends with the usage", refused.output.ends_with("skip file verification after copy\n"));
}

// All that a job's options hold, as one text.
std::string shownOptions(const CopyJobOptions& options) {
  return shown(options.verbose) + shown(options.isSequence) + shown(options.forceOverwrite) +
         shown(options.preserveDepth) + shown(static_cast<int>(options.algorithm)) +
         shown(options.writeHashList) + shown(options.skipVerification) + shown(options.sourceArgument) +
         shown(options.destinationArguments);
}

void expectOptions(const Arguments& arguments, const CopyJobOptions& expected) {
  const Parsed result = parsed(arguments);
  expectTrue("is a job", result.options.has_value());
  expectEqual("options", shownOptions(*result.options), shownOptions(expected));
  expectEqual("output", result.output, std::string());
}

// What is added after a right command line changes what it says, and nothing else.
void expectAdditionsToCount(const Arguments& arguments, const CopyJobOptions& options) {
  struct Addition {
    Arguments arguments;
    std::function<void(CopyJobOptions&)> change;
  };
  static const std::vector<Addition> additions = {
      {{"-v"}, [](CopyJobOptions& changed) { changed.verbose = true; }},
      {{"-s"}, [](CopyJobOptions& changed) { changed.isSequence = true; }},
      {{"-f"}, [](CopyJobOptions& changed) { changed.forceOverwrite = true; }},
      {{"-n"}, [](CopyJobOptions& changed) { changed.skipVerification = true; }},
      {{"-p", "5"}, [](CopyJobOptions& changed) { changed.preserveDepth = 5; }},
      {{"-t", "md5"}, [](CopyJobOptions& changed) { changed.algorithm = HashAlgorithm::MD5; }},
      {{"-t", "sha1"}, [](CopyJobOptions& changed) { changed.algorithm = HashAlgorithm::SHA1; }},
      {{"-o", "0"}, [](CopyJobOptions& changed) { changed.writeHashList = false; }},
      {{"-o", "1"}, [](CopyJobOptions& changed) { changed.writeHashList = true; }},
      {{"raid/"}, [](CopyJobOptions& changed) { changed.destinationArguments.push_back("raid/"); }},
      {{"-"}, [](CopyJobOptions& changed) { changed.destinationArguments.push_back("-"); }},
  };
  for (const Addition& addition : additions) {
    Arguments longer = arguments;
    longer.insert(longer.end(), addition.arguments.begin(), addition.arguments.end());
    CopyJobOptions changed = options;
    addition.change(changed);
    expectOptions(longer, changed);
  }
}

void expectWrongAdditionsToBeRefused(const Arguments& arguments) {
  static const std::vector<std::pair<Arguments, int>> additions = {
      {{"-p", "7"}, 106},    {{"-p", "-1"}, 106}, {{"-p"}, 106},
      {{"-t", "SHA1"}, 108}, {{"-t"}, 108},       {{"-o"}, 109},
  };
  for (const auto& [addition, status] : additions) {
    Arguments longer = arguments;
    longer.insert(longer.end(), addition.begin(), addition.end());
    expectRefusal(parsed(longer), {status});
  }
}

// An option counts by its beginning. A value may begin like an option, and then says nothing after that.
void expectBeginningsToCount(Arguments arguments, const CopyJobOptions& options) {
  for (std::string& argument : arguments) {
    if (argument.size() >= 2 && argument[0] == '-' &&
        std::string("vsfpton").find(argument[1]) != std::string::npos) {
      argument.resize(2);
    }
  }
  expectOptions(arguments, options);
}

// The shortest way to say the same, with the options in front.
void expectOptionsToBeSaidAgain(const CopyJobOptions& options) {
  Arguments arguments;
  if (options.verbose) arguments.emplace_back("-v");
  if (options.isSequence) arguments.emplace_back("-s");
  if (options.forceOverwrite) arguments.emplace_back("-f");
  if (options.skipVerification) arguments.emplace_back("-n");
  if (options.algorithm == HashAlgorithm::MD5) arguments.insert(arguments.end(), {"-t", "md5"});
  if (!options.writeHashList) arguments.insert(arguments.end(), {"-o", "0"});
  arguments.insert(arguments.end(), {"-p", std::to_string(options.preserveDepth), options.sourceArgument});
  arguments.insert(arguments.end(), options.destinationArguments.begin(), options.destinationArguments.end());
  expectOptions(arguments, options);
}

void expectSourceToBeTakenOrRefused(const CopyJobOptions& options) {
  const Parsed result = parsed([&] {
    checkSource(options, parseSequence(options));
    return options;
  });
  if (!result.options) return expectRefusal(result, {104, 113});
  expectEqual("output", result.output, std::string());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Arguments arguments = cStringsOfInput(data, size);
  const Parsed result = parsed(arguments);
  if (arguments.size() < 2) {
    expectRefusal(result, {100});
  } else if (!result.options) {
    expectRefusal(result, {102, 103, 106, 108, 109});
  } else {
    expectEqual("output", result.output, std::string());
    expectAdditionsToCount(arguments, *result.options);
    expectWrongAdditionsToBeRefused(arguments);
    expectBeginningsToCount(arguments, *result.options);
    expectOptionsToBeSaidAgain(*result.options);
    expectSourceToBeTakenOrRefused(*result.options);
  }
  return 0;
}

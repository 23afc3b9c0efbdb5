#include "frontend/CommandLine.h"

#include <span>

#include "frontend/UsageText.h"
#include "include/EndProcess.h"
#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "platform/system/UnicodeText.h"

namespace {

constexpr size_t kFewestArguments = 2;
constexpr int kDeepestPreserveDepth = 6;

[[noreturn]] void endProcessWithUsage(ExitStatus status) {
  print("\n");
  printUsage();
  endProcess(status);
}

[[noreturn]] void endProcessOnWrongArguments(ExitStatus status, const char* problem) {
  print("ERROR: Wrong arguments - %s\n", problem);
  endProcessWithUsage(status);
}

int preserveDepthFrom(const std::optional<std::string>& value) {
  const int depth = value ? leadingNumber(*value) : -1;
  if (depth < 0 || depth > kDeepestPreserveDepth) {
    endProcessOnWrongArguments(ExitStatus::depthWrong, "-p must be followed by a number between 0 and 6.");
  }
  return depth;
}

HashAlgorithm algorithmFrom(const std::optional<std::string>& value) {
  if (value == "md5") return HashAlgorithm::MD5;
  if (value == "sha1") return HashAlgorithm::SHA1;
  endProcessOnWrongArguments(ExitStatus::hashTypeWrong, "-t must be followed by md5 or sha1.");
}

bool writeHashListFrom(const std::optional<std::string>& value) {
  if (!value) {
    // Only this text has no full stop; drivers compare it.
    endProcessOnWrongArguments(ExitStatus::writeHashListValueMissing,
                               "-o needs to be followed by 0 (false) or 1 (true)");
  }
  return leadingNumber(*value) != 0;
}

// Takes the first of the arguments that are left; none when there is none.
std::optional<std::string> takeNext(std::span<const std::string>& arguments) {
  if (arguments.empty()) return std::nullopt;
  const std::string& next = arguments.front();
  arguments = arguments.subspan(1);
  return next;
}

}  // namespace

void requireTwoArguments(const std::vector<std::string>& arguments) {
  if (arguments.size() >= kFewestArguments) return;
  printProgramHeader();
  printUsage();
  endProcess(ExitStatus::tooFewArguments);
}

CopyJobOptions parseArguments(const std::vector<std::string>& arguments) {
  CopyJobOptions options;
  bool hasSource = false;
  std::span<const std::string> left = arguments;
  while (const auto argument = takeNext(left)) {
    // Prefixes on purpose: drivers write -verbose. The accepted price is that a path -video.mov is -v as
    // well.
    if (argument->starts_with("-v")) {
      options.verbose = true;
    } else if (argument->starts_with("-s")) {
      options.isSequence = true;
    } else if (argument->starts_with("-f")) {
      options.forceOverwrite = true;
    } else if (argument->starts_with("-p")) {
      options.preserveDepth = preserveDepthFrom(takeNext(left));
    } else if (argument->starts_with("-t")) {
      options.algorithm = algorithmFrom(takeNext(left));
    } else if (argument->starts_with("-o")) {
      options.writeHashList = writeHashListFrom(takeNext(left));
    } else if (argument->starts_with("-n")) {
      options.skipVerification = true;
    } else if (!hasSource) {
      options.sourceArgument = *argument;
      hasSource = true;
    } else {
      options.destinationArguments.push_back(*argument);
    }
  }
  if (!hasSource) {
    endProcessOnWrongArguments(ExitStatus::sourceArgumentMissing, "missing source movie or sequence.");
  }
  if (options.destinationArguments.empty()) {
    endProcessOnWrongArguments(ExitStatus::destinationArgumentMissing, "missing destination path.");
  }
  return options;
}

std::optional<RVXFileSequence> parseSequence(const CopyJobOptions& options) {
  if (!options.isSequence) return std::nullopt;
  auto sequence = RVXFileSequence::initWithIdentifier(options.sourceArgument);
  if (!sequence) {
    print("ERROR: Can't parse sequence identifier.\n");
    endProcessWithUsage(ExitStatus::sequenceIdentifierWrong);
  }
  return sequence;
}

void checkSource(const CopyJobOptions& options, const std::optional<RVXFileSequence>& sequence) {
  const std::optional<std::string> path = sequence ? sequence->filenameForIndex(0) : options.sourceArgument;
  if (path && isSymbolicLink(*path)) return;
  if (!path || !fileExists(*path)) {
    print("ERROR: Source path %s does not exist.\n", textOrNull(path));
  } else if (isFolder(*path)) {
    print("ERROR: Source path %s is not a file.\n", path->c_str());
  } else {
    return;
  }
  endProcessWithUsage(ExitStatus::sourceNotAFile);
}

#include <cstdint>

#include "frontend/CommandLine.h"
#include "tests/fuzz/CommandLineModel.h"
#include "tests/fuzz/EndedProcess.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/InputText.h"
#include "tests/support/OutputCapture.h"

// Input: the arguments, as C strings. Nothing is copied: it goes as far as the check of the source.

namespace {

using Arguments = CommandLineModel::Arguments;
using Outcome = CommandLineModel::Outcome;

struct Run {
  Outcome outcome;
  CopyJobOptions options;
  Outcome expected;  // told while the same files were open: the source may be one of them
};

Run runOf(const Arguments& arguments) {
  Run run;
  const OutputCapture capture;
  run.expected = CommandLineModel(arguments).outcome();
  try {
    requireTwoArguments(arguments);
    run.options = parseArguments(arguments);
    checkSource(run.options, parseSequence(run.options));
  } catch (const EndedProcess& end) {
    run.outcome.status = static_cast<int>(end.status);
  }
  run.outcome.output = capture.text();
  return run;
}

void expectHeaderAndUsage(const std::string& output) {
  const std::string beginning = "rvxcopy\nSecure Copy and Verify of movies and image sequences";
  expectEqual("header", output.substr(0, beginning.size()), beginning);
  const std::string behindNotice = output.substr(output.find('\n', beginning.size()));
  expectEqual("usage", behindNotice, "\n\n" + kExpectedUsage);
}

void expectOptionsAsModelled(const CopyJobOptions& options, const CopyJobOptions& model) {
  expectEqual("verbose", options.verbose, model.verbose);
  expectEqual("isSequence", options.isSequence, model.isSequence);
  expectEqual("forceOverwrite", options.forceOverwrite, model.forceOverwrite);
  expectEqual("preserveDepth", options.preserveDepth, model.preserveDepth);
  expectEqual("algorithm", static_cast<int>(options.algorithm), static_cast<int>(model.algorithm));
  expectEqual("writeHashList", options.writeHashList, model.writeHashList);
  expectEqual("skipVerification", options.skipVerification, model.skipVerification);
  expectEqual("sourceArgument", options.sourceArgument, model.sourceArgument);
  expectEqual("destinationArguments", options.destinationArguments, model.destinationArguments);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Arguments arguments = cStringsOfInput(data, size);
  const Run run = runOf(arguments);
  expectEqual("status", run.outcome.status, run.expected.status);
  if (run.outcome.status == CommandLineModel::kTooFewArguments) {
    expectHeaderAndUsage(run.outcome.output);
    return 0;
  }
  expectEqual("output", run.outcome.output, run.expected.output);
  if (!run.outcome.status) expectOptionsAsModelled(run.options, CommandLineModel(arguments).options());
  return 0;
}

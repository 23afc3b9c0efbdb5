#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <variant>

#include "check/PrintedText.h"
#include "check/RVXCheckOptions.h"
#include "check/RVXCheckRun.h"
#include "check/RVXHistories.h"
#include "include/EndProcess.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/files/RVXIOFailure.h"
#include "platform/system/Host.h"
#include "platform/system/RVXInterruption.h"
#include "platform/system/StandardStreams.h"

namespace {

// Other threads may still read: no destructor is run.
[[noreturn]] void end(RVXCheckStatus status) {
  std::_Exit(static_cast<int>(status));
}

[[noreturn]] void endWithUsage(const std::string& problem) {
  [[maybe_unused]] const auto ignored =
      writeTo(RVXStandardStream::error, "rvxcheck: " + problem + "\n" + RVXCheckOptions::usage());
  end(RVXCheckStatus::wrongArguments);
}

[[noreturn]] void endWithText(const std::string& text, bool isOutputLost) {
  const bool isWritten = !isOutputLost && writeTo(RVXStandardStream::output, text).succeeded();
  end(isWritten ? RVXCheckStatus::good : RVXCheckStatus::outputLost);
}

// Whether the PATH is a folder "ascmhl", or a file in one.
bool isInHistory(const std::string& path, RVXFileType type) {
  const std::string real = realPath(path).value_or(path);
  const std::string folder = type == RVXFileType::folder ? real : pathWithoutLastComponent(real);
  return lastPathComponent(folder) == RVXHistories::kFolder;
}

void requireItems(const RVXCheckOptions& options) {
  for (const std::string& path : options.paths) {
    const auto item = attributesOfTarget(path);
    if (item.failed()) endWithUsage(printedText(path) + ": " + item.failure().reason);
    if (isInHistory(path, item.value().type)) {
      endWithUsage(printedText(path) + ": name the folder that holds it");
    }
    const bool mustBeFolder = options.newList != RVXNewList::none;
    if (mustBeFolder && item.value().type != RVXFileType::folder) {
      endWithUsage(printedText(path) + ": not a folder");
    }
  }
  if (!options.card) return;
  const auto card = attributesOfTarget(*options.card);
  if (card.failed()) endWithUsage(printedText(*options.card) + ": " + card.failure().reason);
  if (card.value().type != RVXFileType::folder) endWithUsage(printedText(*options.card) + ": not a folder");
}

[[noreturn]] void grantAndEnd(RVXCheckOptions::Wish wish, bool isOutputLost) {
  const bool wantsHelp = wish == RVXCheckOptions::Wish::help;
  endWithText(wantsHelp ? std::string(RVXCheckOptions::usage()) + RVXCheckOptions::help()
                        : std::string("rvxcheck ") + RVX_VERSION + "\n",
              isOutputLost);
}

[[noreturn]] void checkAndEnd(const RVXCheckOptions& options, bool isOutputLost) {
  requireItems(options);
  RVXInterruption::begin();
  RVXCheckRun run(options, isOutputLost);
  const RVXCheckStatus status = run.run();
  const auto signalNumber = RVXInterruption::signalNumber();
  if (signalNumber) RVXInterruption::endProcess(*signalNumber);
  end(status);
}

}  // namespace

int main(int argumentCount, char* argumentVector[]) {
  const bool isOutputLost = !isOpen(RVXStandardStream::output);
  openMissingStandardDescriptors();
  letWritesFail();
  std::set_new_handler(endProcessWithoutMemory);

  const auto parsed = RVXCheckOptions::parse(argumentCount, argumentVector);
  if (const auto* options = std::get_if<RVXCheckOptions>(&parsed)) checkAndEnd(*options, isOutputLost);
  if (const auto* wish = std::get_if<RVXCheckOptions::Wish>(&parsed)) grantAndEnd(*wish, isOutputLost);
  if (const auto* problem = std::get_if<std::string>(&parsed)) endWithUsage(*problem);
}

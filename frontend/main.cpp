#include <string>
#include <vector>

#include "formats/RVXHashList.h"
#include "frontend/CommandLine.h"
#include "frontend/CopyPhase.h"
#include "frontend/CopyPlan.h"
#include "frontend/HashListPhase.h"
#include "frontend/ProcessSetUp.h"
#include "frontend/VerifyPhase.h"
#include "include/ExitStatus.h"

int main(int argumentCount, char* argumentVector[]) {
  setUpProcess();
  const std::vector<std::string> arguments(argumentVector + (argumentCount > 0 ? 1 : 0),
                                           argumentVector + argumentCount);
  requireTwoArguments(arguments);
  const CopyJobOptions options = parseArguments(arguments);
  const auto sequence = parseSequence(options);
  checkSource(options, sequence);
  if (!options.skipVerification) requireDigests();

  const CopyPlan plan = planCopy(options, sequence);
  RVXHashList hashList = RVXHashList::init();
  hashList.setOriginalFiles(options.sourceArgument);

  runCopyPhase(options, plan, hashList);
  if (options.skipVerification) {
    reportUnverifiedCopies(options, plan);
  } else {
    runVerifyPhase(options, plan, hashList);
    if (options.writeHashList) runHashListPhase(options, plan, hashList);
  }
  return static_cast<int>(ExitStatus::finished);
}

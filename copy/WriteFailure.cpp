#include "copy/WriteFailure.h"

#include "include/EndProcess.h"
#include "include/Print.h"

void endProcessOnWriteFailure(const RVXIOFailure& failure, const std::string& destinationFolder) {
  const bool isFull = failure.reason.find("No space left") != std::string::npos;
  endProcess(isFull ? ExitStatus::noSpaceLeft : ExitStatus::writeFailed, [&] {
    print("ERROR: unexpected %s during write: %s\n", failure.name.c_str(), failure.reason.c_str());
    print("ERROR: failed writing to %s\n", destinationFolder.c_str());
  });
}

#include "frontend/CopyError.h"

#include "include/EndProcess.h"
#include "include/Print.h"

void endProcessOnCopyError(const RVXError& error) {
  // Drivers read the "i" after the number; there is no line end.
  print("ERROR: %s (%di)", error.description.c_str(), error.code);
  endProcess(static_cast<ExitStatus>(error.code));
}

#pragma once

#include <string>
#include <vector>

#include "include/HashAlgorithm.h"

// The whole job as the command line gives it. Filled once, read-only afterwards.
struct CopyJobOptions {
  bool verbose = false;                           // -v
  bool isSequence = false;                        // -s
  bool forceOverwrite = false;                    // -f
  int preserveDepth = 0;                          // -p, 0 to 6
  HashAlgorithm algorithm = HashAlgorithm::SHA1;  // -t
  bool writeHashList = true;                      // -o
  bool skipVerification = false;                  // -n
  std::string sourceArgument;                     // a file, or the identifier of a sequence
  std::vector<std::string> destinationArguments;  // in command-line order, duplicates kept
};

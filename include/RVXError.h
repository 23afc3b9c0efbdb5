#pragma once

#include <string>

#include "include/ExitStatus.h"

// A failure that comes back to the caller as an object. The code is at the same time the exit status with
// which the front end ends the process; the description is what it prints.
struct RVXError {
  std::string domain;
  int code = 0;
  std::string description;

  // "rvxcopy" 200: a copy could not open its source.
  static RVXError copySourceNotOpened() { return {"rvxcopy", kSourceCode, kSourceDescription}; }

  // "rvxcopy" 201: a copy could not open its destination number `number` (counted from 1).
  static RVXError copyDestinationNotOpened(unsigned number) {
    return {"rvxcopy", kDestinationCode, "can't open destination file (#" + std::to_string(number) + ")"};
  }

  // "rvxcopy" 201: a copied link could not be created at `path`.
  static RVXError copyLinkNotCreated(const std::string& path) {
    return {"rvxcopy", kDestinationCode, "can't open destination file (" + path + ")"};
  }

  // "rvxverify" 200: a file could not be opened for verification. It says "source" whichever file it was.
  static RVXError verifySourceNotOpened() { return {"rvxverify", kSourceCode, kSourceDescription}; }

 private:
  static constexpr int kSourceCode = static_cast<int>(ExitStatus::sourceNotOpened);
  static constexpr int kDestinationCode = static_cast<int>(ExitStatus::destinationNotOpened);
  static constexpr const char* kSourceDescription = "can't open source file";
};

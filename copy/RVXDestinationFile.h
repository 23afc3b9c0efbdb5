#pragma once

#include <string>

#include "platform/files/RVXStorageWriter.h"

// One destination's file while it is written, and until it is safe from a power cut.
struct RVXDestinationFile {
  RVXStorageWriter fileHandle;
  std::string destPath;  // the destination's folder
};

#pragma once

#include <string>

// What the system tells about itself.
class CPSystemInformation {
 public:
  // The computer's user-visible name; "unknown-hostname" when the platform gives none.
  static std::string computerName();
};

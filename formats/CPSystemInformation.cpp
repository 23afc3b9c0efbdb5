#include "formats/CPSystemInformation.h"

#include "platform/system/RVXHost.h"

std::string CPSystemInformation::computerName() {
  return userVisibleComputerName().value_or("unknown-hostname");
}

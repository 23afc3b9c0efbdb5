#include "formats/CPSystemInformation.h"

#include "platform/RVXHost.h"

std::string CPSystemInformation::computerName() {
  return userVisibleComputerName().value_or("unknown-hostname");
}

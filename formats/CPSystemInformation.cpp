#include "formats/CPSystemInformation.h"

#include "platform/system/Host.h"

std::string CPSystemInformation::computerName() {
  return userVisibleComputerName().value_or("unknown-hostname");
}

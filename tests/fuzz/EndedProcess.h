#pragma once

#include "include/ExitStatus.h"

// Thrown in fuzz targets where the program itself would end.
struct EndedProcess {
  ExitStatus status;
};

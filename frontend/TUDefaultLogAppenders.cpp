#include "frontend/TUDefaultLogAppenders.h"

#include "platform/system/RVXHost.h"

std::vector<TUASLCSVAppender> TUDefaultLogAppenders::defaultLogAppenders() {
  return {TUASLCSVAppender::initWithLogLevel(1, processName())};
}

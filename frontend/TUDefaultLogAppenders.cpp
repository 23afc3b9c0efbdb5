#include "frontend/TUDefaultLogAppenders.h"

#include "platform/system/Host.h"

std::vector<TUASLCSVAppender> TUDefaultLogAppenders::defaultLogAppenders() {
  return {TUASLCSVAppender::initWithLogLevel(1, processName())};
}

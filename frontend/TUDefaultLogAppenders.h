#pragma once

#include <string>
#include <utility>
#include <vector>

// A destination of log records: which records it takes and in whose name it writes them.
struct TUASLCSVAppender {
  int logLevel = 0;
  std::string applicationName;

  static TUASLCSVAppender initWithLogLevel(int logLevel, std::string applicationName) {
    return {logLevel, std::move(applicationName)};
  }
};

// Tells a logging library where log records go. Nothing in the program logs.
class TUDefaultLogAppenders {
 public:
  // A new list, the caller's own, of exactly one appender: level 1, in the name of the running process.
  static std::vector<TUASLCSVAppender> defaultLogAppenders();
};

#pragma once

// Every status with which rvxcheck ends itself. When several apply it is the worst, the one that stands first
// after `good`. Drivers depend on the numbers.
enum class RVXCheckStatus : int {
  good = 0,
  outputLost = 1,      // standard output can't be written
  wrongArguments = 2,  // also a PATH or CARD that does not exist
  mayNotBeFormatted = 22,
  changed = 11,
  unreadable = 13,
  missing = 10,
  badLines = 31,
  noList = 30,
  unlisted = 21,
  unwritten = 40,  // all that was checked is good, and a new list was not written
};

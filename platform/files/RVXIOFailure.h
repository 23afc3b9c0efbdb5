#pragma once

#include <string>

// Why an operation on a file or folder failed, kept beside the failing call. What it says is the C locale's.
struct RVXIOFailure {
  int code = 0;        // the error number, e.g. 28
  std::string name;    // its symbolic name, e.g. "ENOSPC"; the number where it has none
  std::string reason;  // its text, e.g. "No space left on device"

  // The detail dictionary as text, e.g. "{errno = 28}".
  [[nodiscard]] std::string details() const { return "{errno = " + std::to_string(code) + "}"; }
};

// The failure with that error number.
RVXIOFailure failureFromErrno(int code);

// The failure that errno stands for now. To be called right after the failing call.
RVXIOFailure failureFromErrno();

// True for the answers by which a file system says that it does not offer a facility at all (a sync, a cache
// advice, direct I/O), as opposed to having failed at it.
bool meansNotSupported(int code);

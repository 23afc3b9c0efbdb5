#pragma once

#include <string>

// Why an operation on a file or folder failed. The texts are those of the C locale.
struct RVXIOFailure {
  int code = 0;        // the error number, e.g. 28
  std::string name;    // its symbolic name, e.g. "ENOSPC"; the number where it has none
  std::string reason;  // its text, e.g. "No space left on device"

  // The detail dictionary as text, e.g. "{errno = 28}".
  [[nodiscard]] std::string details() const { return "{errno = " + std::to_string(code) + "}"; }

  // True for the answers by which a file system says that it does not offer a facility at all (a sync, a
  // cache advice, direct I/O), as opposed to having failed at it.
  [[nodiscard]] bool meansNotSupported() const;
};

// The failure with that error number. Callers read errno in the same statement as the failing call, or in the
// next.
RVXIOFailure failureFromErrno(int code);

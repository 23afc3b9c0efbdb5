#include "platform/files/RVXIOFailure.h"

#include <cerrno>
#include <cstring>
#include <system_error>

bool RVXIOFailure::meansNotSupported() const {
  return code == EINVAL || code == ENOTSUP || code == ENOSYS;
}

RVXIOFailure failureFromErrno(int code) {
  const char* name = ::strerrorname_np(code);
  return {code, name != nullptr ? name : std::to_string(code), std::generic_category().message(code)};
}

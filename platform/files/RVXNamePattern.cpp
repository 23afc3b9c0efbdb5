#include "platform/files/RVXNamePattern.h"

#include <fnmatch.h>

bool RVXNamePattern::matches(const std::string& text) const {
  return ::fnmatch(mPattern.c_str(), text.c_str(), mIsForPaths ? FNM_PATHNAME : 0) == 0;
}

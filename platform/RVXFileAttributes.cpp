#include "platform/RVXFileAttributes.h"

namespace {

RVXFileType typeOf(mode_t mode) {
  if (S_ISREG(mode)) return RVXFileType::regular;
  if (S_ISDIR(mode)) return RVXFileType::folder;
  if (S_ISLNK(mode)) return RVXFileType::symbolicLink;
  if (S_ISFIFO(mode)) return RVXFileType::fifo;
  return RVXFileType::other;
}

}  // namespace

RVXFileAttributes attributesFromStatus(const struct stat& status) {
  return {typeOf(status.st_mode), status.st_size, {status.st_dev, status.st_ino}};
}

#include "platform/files/RVXFileAttributes.h"

namespace {

RVXFileIdentity identityOf(const struct stat& status) {
  constexpr ino_t kNoInode = 0;  // which no file has
  if (S_ISBLK(status.st_mode)) return {status.st_rdev, kNoInode};
  return {status.st_dev, status.st_ino};
}

}  // namespace

RVXFileType fileTypeOf(mode_t mode) {
  if (S_ISREG(mode)) return RVXFileType::regular;
  if (S_ISDIR(mode)) return RVXFileType::folder;
  if (S_ISLNK(mode)) return RVXFileType::symbolicLink;
  if (S_ISFIFO(mode)) return RVXFileType::fifo;
  if (S_ISBLK(mode)) return RVXFileType::blockDevice;
  return RVXFileType::other;
}

RVXFileAttributes RVXFileAttributes::of(const struct stat& status) {
  return {fileTypeOf(status.st_mode), status.st_size, identityOf(status), status.st_mtim.tv_sec};
}

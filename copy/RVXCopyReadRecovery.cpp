#include "copy/RVXCopyReadRecovery.h"

#include "include/EndProcess.h"
#include "include/Print.h"
#include "platform/files/FileSystem.h"
#include "platform/system/Host.h"

namespace {

// On one line, as "(/, /media/CARD)".
std::string volumesText() {
  std::string text;
  for (const std::string& volume : mountedVolumes()) text += (text.empty() ? "" : ", ") + volume;
  return "(" + text + ")";
}

}  // namespace

void RVXCopyReadRecovery::readFailed(const RVXIOFailure& failure, int64_t position) {
  print("ERROR: unexpected %s during read: %s of file: %s at position:%lld\n", failure.name.c_str(),
        failure.reason.c_str(), mSourcePath.c_str(), static_cast<long long>(position));
  print("INFO: file exists:%d volumes: %s\n", fileExists(mSourcePath) ? 1 : 0, volumesText().c_str());
}

void RVXCopyReadRecovery::reopenFailed() {
  endProcess(ExitStatus::readFailed,
             [&] { print("ERROR: could not reopen file handle for path: %s\n", mSourcePath.c_str()); });
}

void RVXCopyReadRecovery::readFailedAgain(const RVXIOFailure& firstFailure) {
  // The first failure's words on purpose: it tells what happened to the card, the second often only "gone".
  endProcess(ExitStatus::readFailed, [&] {
    print("ERROR: again unexpected %s during read: %s userInfo: %s\n", firstFailure.name.c_str(),
          firstFailure.reason.c_str(), firstFailure.details().c_str());
  });
}

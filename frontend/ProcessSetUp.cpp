#include "frontend/ProcessSetUp.h"

#include <csignal>
#include <cstdio>
#include <new>

#include "frontend/SignalHandler.h"
#include "include/EndProcess.h"
#include "platform/system/Host.h"
#include "platform/system/RVXDigest.h"

void setUpProcess() {
  openMissingStandardDescriptors();
  installSignalHandler();
  raiseOpenFileLimit();
  std::signal(SIGXFSZ, SIG_IGN);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  std::set_new_handler(endProcessWithoutMemory);
}

void requireDigests() {
  const RVXDigest md5Digest(HashAlgorithm::MD5);
  const RVXDigest sha1Digest(HashAlgorithm::SHA1);
}

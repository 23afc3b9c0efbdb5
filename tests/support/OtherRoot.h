#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"

// A root folder of its own for child processes, in which the system's own files can be made up. To change the
// root needs a right.
class OtherRoot {
 public:
  static bool isAllowed() {
    return runInChild([] { std::_Exit(::chroot("/") == 0 ? 0 : 1); }).status == 0;
  }

  // Makes a file with its folders. Paths begin with a slash and are those inside.
  void write(const std::string& path, const std::string& text) const {
    makeFolder(std::filesystem::path(path).parent_path().string());
    writeFile(mFolder.path() + path, text);
  }
  void makeFolder(const std::string& path) const {
    std::filesystem::create_directories(mFolder.path() + path);
  }

  // What the body prints in it.
  template <typename Body>
  std::string outputOf(Body body) const {
    return runInChild([&] {
             if (::chroot(mFolder.path().c_str()) == 0 && ::chdir("/") == 0) body();
           })
        .output;
  }

 private:
  TemporaryFolder mFolder;
};

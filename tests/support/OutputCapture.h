#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

// Collects what this process prints to standard output as long as it lives. Nothing is expected (EXPECT_...)
// meanwhile: the messages would be collected, too.
class OutputCapture {
 public:
  OutputCapture() {
    // As in the program itself; what is printed can thus be looked at at once.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    ::dup2(mCollected, STDOUT_FILENO);
  }
  ~OutputCapture() {
    ::dup2(mStandardOutput, STDOUT_FILENO);
    ::close(mStandardOutput);
    ::close(mCollected);
  }
  OutputCapture(const OutputCapture&) = delete;
  OutputCapture& operator=(const OutputCapture&) = delete;

  // What was printed so far; from any thread.
  [[nodiscard]] std::string text() const {
    struct stat status {};
    ::fstat(mCollected, &status);
    std::string text(static_cast<size_t>(status.st_size), '\0');
    const ssize_t length = ::pread(mCollected, text.data(), text.size(), 0);
    text.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return text;
  }

 private:
  int mStandardOutput = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
  int mCollected = ::memfd_create("output", MFD_CLOEXEC);
};

// What the body prints to standard output.
template <typename Body>
std::string outputOf(Body body) {
  const OutputCapture capture;
  body();
  return capture.text();
}

// A library for LD_PRELOAD that makes chosen calls of a program fail, or run a script, as RVX_FAULTS says:
//
//   RVX_FAULTS="CALL PATH NTH COUNT EFFECT;..."
//
//   CALL    openr (opened for reading), openw (for writing), read, write (all such calls), fdatasync, fsync,
//           close, range (sync_file_range), rename, mkdir, symlink, readlink, stat, lstat, fstat, statfs
//           (fstatfs), unlink, truncate (ftruncate), chmod (fchmod), seek (lseek), advise (posix_fadvise),
//           fcntl, thread (pthread_create; its path is "thread"), memory (malloc, calloc, realloc and mmap;
//           the path is the function's name; under a sanitizer, whose allocator comes first, only mmap),
//           digest (EVP_MD_fetch; its path is the digest's name), or * for any of them
//   PATH    a text that the path of the file must contain; after a "=", a pattern that the whole path must
//           match (fnmatch); or *
//   NTH     the matching call, from 1, at which it begins
//   COUNT   how many calls it lasts, 0 to only log them, or * for ever
//   EFFECT  the name of an errno; short (half of the transfer); lie (a call that claims success and does
//           nothing); run=COMMAND (runs it with sh before the call, or after that of thread, which then
//           succeeds; no ";" or blank in it: name a script); signal=NUMBER (the calling thread raises it
//           before the call)
//
// A rule that isn't understood ends the program at once: a test must not pass because its fault never
// happened.
//
// With RVX_FAULTS_LOG, each matching call appends a line "CALL PATH" to that file, "!" in front where a rule
// fired, so that a test can see that its fault did happen and count the calls.

#include <dlfcn.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <openssl/evp.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

struct Rule {
  std::string call, path, effect;
  long nth = 1, count = 1;
  long seen = 0;
};

struct Fault {
  int error = 0;  // 0: none
  bool isShort = false;
  bool isLie = false;
  int signal = 0;  // 0: none
  std::string script;
};

constexpr const char* kThread = "thread";
constexpr long kForEver = -1;
constexpr int kRuleNotUnderstood = 99;  // no exit status of the program

int errorNamed(const std::string& name) {
  constexpr int kLargestError = 133;
  for (int number = 1; number <= kLargestError; ++number) {
    const char* const text = ::strerrorname_np(number);
    if (text != nullptr && name == text) return number;
  }
  return 0;
}

template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

std::string pathOfDescriptor(int descriptor) {
  std::array<char, 4096> target;
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const long length = ::syscall(SYS_readlink, link.c_str(), target.data(), target.size());
  return length < 0 ? "" : std::string(target.data(), static_cast<size_t>(length));
}

bool matchesPath(const std::string& pattern, const std::string& path) {
  if (pattern == "*") return true;
  if (pattern.starts_with("=")) return ::fnmatch(pattern.c_str() + 1, path.c_str(), 0) == 0;
  return path.find(pattern) != std::string::npos;
}

class Shim {
 public:
  static Shim& instance() {
    static auto* const shim = new Shim;
    return *shim;
  }

  Fault faultFor(const char* call, const std::string& path) {
    if (isInside()) return {};
    isInside() = true;
    const Fault fault = applyRules(call, path);
    if (!fault.script.empty() && std::strcmp(call, kThread) != 0) run(fault.script);
    if (fault.signal != 0) ::raise(fault.signal);
    isInside() = false;
    return fault;
  }

  void runScript(const std::string& script) {
    isInside() = true;
    run(script);
    isInside() = false;
  }

  // A signal handler may interrupt a thread in here and make calls of its own: neither the lock nor an
  // allocation is for it.
  static bool& isInside() {
    thread_local bool inside = false;
    return inside;
  }

 private:
  Fault applyRules(const char* call, const std::string& path) {
    const std::lock_guard<std::mutex> lock(mLock);
    Fault fault;
    bool matches = false;
    bool fired = false;
    for (Rule& rule : mRules) {
      if ((rule.call != "*" && rule.call != call) || !matchesPath(rule.path, path)) continue;
      matches = true;
      ++rule.seen;
      if (rule.seen < rule.nth || (rule.count != kForEver && rule.seen >= rule.nth + rule.count)) continue;
      fired = true;
      if (rule.effect == "short") {
        fault.isShort = true;
      } else if (rule.effect == "lie") {
        fault.isLie = true;
      } else if (rule.effect.starts_with("run=")) {
        fault.script = rule.effect.substr(4);
      } else if (rule.effect.starts_with("signal=")) {
        fault.signal = std::stoi(rule.effect.substr(7));
      } else {
        fault.error = errorNamed(rule.effect);
      }
    }
    if (matches) log(call, path, fired);
    return fault;
  }

  Shim() {
    const char* text = std::getenv("RVX_FAULTS");
    std::istringstream rules(text != nullptr ? text : "");
    for (std::string line; std::getline(rules, line, ';');) mRules.push_back(understood(line));
    const char* logFile = std::getenv("RVX_FAULTS_LOG");
    if (logFile != nullptr) {
      mLog = static_cast<int>(
          ::syscall(SYS_openat, AT_FDCWD, logFile, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666));
    }
  }

  static Rule understood(const std::string& line) {
    std::istringstream words(line);
    Rule rule;
    std::string count;
    if (words >> rule.call >> rule.path >> rule.nth >> count >> rule.effect && isKnownEffect(rule.effect)) {
      rule.count = count == "*" ? kForEver : std::stol(count);
      return rule;
    }
    const std::string message = "fault shim: can't understand the rule \"" + line + "\"\n";
    ::syscall(SYS_write, STDERR_FILENO, message.data(), message.size());
    ::_exit(kRuleNotUnderstood);
  }

  static bool isKnownEffect(const std::string& effect) {
    return effect == "short" || effect == "lie" || effect.starts_with("run=") ||
           effect.starts_with("signal=") || errorNamed(effect) != 0;
  }

  void log(const char* call, const std::string& path, bool fired) const {
    if (mLog < 0) return;
    const std::string line = std::string(fired ? "!" : "") + call + " " + path + "\n";
    ::syscall(SYS_write, mLog, line.data(), line.size());
  }

  static void run(const std::string& script) {
    std::array<char*, 3> arguments{const_cast<char*>("sh"), const_cast<char*>(script.c_str()), nullptr};
    std::array<char*, 2> environment{const_cast<char*>("PATH=/usr/sbin:/usr/bin:/sbin:/bin"), nullptr};
    pid_t child = 0;
    if (::posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments.data(), environment.data()) == 0) {
      int status = 0;
      while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
      }
    }
  }

  std::mutex mLock;
  std::vector<Rule> mRules;
  int mLog = -1;
};

// What the shim itself needs is not refused.
thread_local bool isOwnMemory = false;

class OwnMemory {
 public:
  OwnMemory() : mBefore(std::exchange(isOwnMemory, true)) {}
  ~OwnMemory() { isOwnMemory = mBefore; }
  OwnMemory(const OwnMemory&) = delete;
  OwnMemory& operator=(const OwnMemory&) = delete;

 private:
  const bool mBefore;
};

Fault faultFor(const char* call, const char* path) {
  const OwnMemory own;
  return Shim::instance().faultFor(call, path);
}
Fault faultFor(const char* call, int descriptor) {
  if (Shim::isInside()) return {};
  const OwnMemory own;
  return Shim::instance().faultFor(call, pathOfDescriptor(descriptor));
}

// Fails a call whose result is 0 or -1.
template <typename Call>
int guarded(const Fault& fault, Call call) {
  if (fault.error != 0) {
    errno = fault.error;
    return -1;
  }
  return fault.isLie ? 0 : call();
}

// The same for a call that is nothing but its system call.
template <typename Where, typename... Arguments>
int guardedCall(const char* call, Where where, long number, Arguments... arguments) {
  return guarded(faultFor(call, where), [&] { return static_cast<int>(::syscall(number, arguments...)); });
}

// Fails, halves or fakes a transfer of `size` bytes.
template <typename Call>
ssize_t guardedTransfer(const Fault& fault, size_t size, Call call) {
  if (fault.error != 0) {
    errno = fault.error;
    return -1;
  }
  if (fault.isLie) return static_cast<ssize_t>(size);
  return call(fault.isShort && size > 1 ? size / 2 : size);
}

// Until the rules are read, nothing is refused.
bool hasRules = false;
[[gnu::constructor]] void readRules() {
  Shim::instance();
  hasRules = true;
}

bool isMemoryRefused(const char* function) {
  if (!hasRules || isOwnMemory) return false;
  const int interruptedErrno = errno;
  const int error = faultFor("memory", function).error;
  errno = error != 0 ? error : interruptedErrno;
  return error != 0;
}

}  // namespace

extern "C" {

// The C library's own; dlsym() can't look them up, because it needs memory.
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

void* malloc(size_t size) {
  return isMemoryRefused("malloc") ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
  return isMemoryRefused("calloc") ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) {
  return isMemoryRefused("realloc") ? nullptr : __libc_realloc(memory, size);
}

void* mmap(void* address, size_t size, int protection, int flags, int descriptor, off_t offset) noexcept {
  if (isMemoryRefused("mmap")) return MAP_FAILED;
  return reinterpret_cast<void*>(::syscall(SYS_mmap, address, size, protection, flags, descriptor, offset));
}

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  const bool isForReading = (flags & O_ACCMODE) == O_RDONLY;
  return guardedCall(isForReading ? "openr" : "openw", path, SYS_openat, AT_FDCWD, path, flags, mode);
}

ssize_t read(int descriptor, void* bytes, size_t size) {
  return guardedTransfer(faultFor("read", descriptor), size,
                         [&](size_t most) { return ::syscall(SYS_read, descriptor, bytes, most); });
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
  return guardedTransfer(faultFor("write", descriptor), size,
                         [&](size_t most) { return ::syscall(SYS_write, descriptor, bytes, most); });
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t offset) {
  return guardedTransfer(faultFor("read", descriptor), size, [&](size_t most) {
    return ::syscall(SYS_pread64, descriptor, bytes, most, offset);
  });
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset) {
  return guardedTransfer(faultFor("write", descriptor), size, [&](size_t most) {
    return ::syscall(SYS_pwrite64, descriptor, bytes, most, offset);
  });
}

ssize_t pwritev2(int descriptor, const struct iovec* pieces, int count, off_t offset, int flags) {
  static const auto real = next<ssize_t (*)(int, const struct iovec*, int, off_t, int)>("pwritev2");
  return guardedTransfer(faultFor("write", descriptor), pieces->iov_len, [&](size_t most) {
    const struct iovec piece { pieces->iov_base, most };
    return real(descriptor, &piece, count, offset, flags);
  });
}

int fdatasync(int descriptor) {
  return guardedCall("fdatasync", descriptor, SYS_fdatasync, descriptor);
}

int fsync(int descriptor) {
  return guardedCall("fsync", descriptor, SYS_fsync, descriptor);
}

int close(int descriptor) {
  const Fault fault = faultFor("close", descriptor);
  // Also a failing close gives the number back.
  const int result = static_cast<int>(::syscall(SYS_close, descriptor));
  return guarded(fault, [&] { return result; });
}

int sync_file_range(int descriptor, off64_t offset, off64_t length, unsigned flags) {
  return guardedCall("range", descriptor, SYS_sync_file_range, descriptor, offset, length, flags);
}

int rename(const char* from, const char* to) noexcept {
  return guardedCall("rename", to, SYS_rename, from, to);
}

int mkdir(const char* path, mode_t mode) noexcept {
  return guardedCall("mkdir", path, SYS_mkdir, path, mode);
}

int symlink(const char* target, const char* path) noexcept {
  return guardedCall("symlink", path, SYS_symlink, target, path);
}

ssize_t readlink(const char* path, char* target, size_t size) noexcept {
  return guardedTransfer(faultFor("readlink", path), size,
                         [&](size_t) { return ::syscall(SYS_readlink, path, target, size); });
}

int unlink(const char* path) noexcept {
  return guardedCall("unlink", path, SYS_unlink, path);
}

int stat(const char* path, struct stat* status) noexcept {
  return guardedCall("stat", path, SYS_newfstatat, AT_FDCWD, path, status, 0);
}

int lstat(const char* path, struct stat* status) noexcept {
  return guardedCall("lstat", path, SYS_newfstatat, AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}

int fstat(int descriptor, struct stat* status) noexcept {
  return guardedCall("fstat", descriptor, SYS_newfstatat, descriptor, "", status, AT_EMPTY_PATH);
}

int fstatfs(int descriptor, struct statfs* status) noexcept {
  return guardedCall("statfs", descriptor, SYS_fstatfs, descriptor, status);
}

int ftruncate(int descriptor, off_t size) noexcept {
  return guardedCall("truncate", descriptor, SYS_ftruncate, descriptor, size);
}

int fchmod(int descriptor, mode_t mode) noexcept {
  return guardedCall("chmod", descriptor, SYS_fchmod, descriptor, mode);
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept {
  const Fault fault = faultFor("seek", descriptor);
  if (fault.error != 0) {
    errno = fault.error;
    return -1;
  }
  return ::syscall(SYS_lseek, descriptor, offset, whence);
}

// Answers with the error's number and leaves errno alone.
int posix_fadvise(int descriptor, off_t offset, off_t length, int advice) noexcept {
  static const auto real = next<int (*)(int, off_t, off_t, int)>("posix_fadvise");
  const Fault fault = faultFor("advise", descriptor);
  return fault.error != 0 ? fault.error : real(descriptor, offset, length, advice);
}

int fcntl(int descriptor, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  const long argument = va_arg(arguments, long);
  va_end(arguments);
  return guardedCall("fcntl", descriptor, SYS_fcntl, descriptor, command, argument);
}

// The library itself refuses, with a reason of its own, whatever errno the rule names.
EVP_MD* EVP_MD_fetch(OSSL_LIB_CTX* library, const char* algorithm, const char* properties) {
  static const auto real = next<EVP_MD* (*)(OSSL_LIB_CTX*, const char*, const char*)>("EVP_MD_fetch");
  const Fault fault = faultFor("digest", algorithm);
  return real(library, fault.error != 0 ? "no such digest" : algorithm, properties);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
  static const auto real =
      next<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
  const Fault fault = faultFor(kThread, kThread);
  if (fault.error != 0) return fault.error;
  const int result = real(thread, attributes, body, argument);
  if (!fault.script.empty()) Shim::instance().runScript(fault.script);
  return result;
}
}

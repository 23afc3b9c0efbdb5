#include "platform/system/Host.h"

#include <fcntl.h>
#include <mntent.h>
#include <pwd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "include/SplitText.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/files/TextFile.h"

namespace {

constexpr const char* kVolumesFolder = "/Volumes";

// The value of a shell-style assignment (machine-info(5), os-release(5)): quotes removed, backslashes
// resolved.
std::string unquoted(std::string_view value) {
  char quote = '\0';
  std::string text;
  for (size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    const bool isQuote = c == '"' || c == '\'';
    if (isQuote && (quote == '\0' || quote == c)) {
      quote = quote == '\0' ? c : '\0';
    } else if (c == '\\' && quote != '\'' && i + 1 < value.size()) {
      text += value[++i];
    } else {
      text += c;
    }
  }
  return text;
}

std::optional<std::string> prettyHostName() {
  const auto machineInfo = readTextFile("/etc/machine-info");
  if (machineInfo.failed()) return std::nullopt;
  constexpr std::string_view kKey = "PRETTY_HOSTNAME=";
  for (const std::string_view line : splitAt(machineInfo.value(), '\n')) {
    if (line.starts_with(kKey)) return unquoted(line.substr(kKey.size()));
  }
  return std::nullopt;
}

bool isRealFileSystem(const mntent& mount) {
  static constexpr auto kNetworkTypes = std::to_array<std::string_view>(
      {"nfs", "nfs4", "cifs", "smb3", "smbfs", "9p", "afs", "ceph", "glusterfs", "lustre", "virtiofs"});
  const std::string_view type = mount.mnt_type;
  return std::string_view(mount.mnt_fsname).starts_with("/dev/") || type == "fuse" ||
         type.starts_with("fuse.") || std::ranges::find(kNetworkTypes, type) != kNetworkTypes.end();
}

std::vector<std::string> mountFolders() {
  std::vector<std::string> folders;
  const std::unique_ptr<FILE, int (*)(FILE*)> table(::setmntent("/proc/self/mounts", "re"), ::endmntent);
  if (!table) return folders;
  mntent mount{};
  std::array<char, size_t{3} * PATH_MAX> text{};
  while (::getmntent_r(table.get(), &mount, text.data(), static_cast<int>(text.size())) != nullptr) {
    if (isRealFileSystem(mount)) folders.emplace_back(mount.mnt_dir);
  }
  return folders;
}

}  // namespace

std::optional<std::string> userVisibleComputerName() {
  for (const auto& name : {prettyHostName(), hostName()}) {
    if (name && !name->empty()) return name;
  }
  return std::nullopt;
}

std::optional<std::string> hostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  if (::gethostname(name.data(), name.size()) != 0) return std::nullopt;
  return std::string(name.data());
}

std::string effectiveUserName() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): lists are written on one thread
  const passwd* entry = ::getpwuid(::geteuid());
  return entry != nullptr ? entry->pw_name : std::to_string(::geteuid());
}

std::optional<std::string> environmentVariable(const std::string& name) {
  const char* value = std::getenv(name.c_str());  // NOLINT(concurrency-mt-unsafe): nothing here sets one
  return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

std::string processName() {
  return program_invocation_short_name;
}

std::optional<std::string> homeFolder(const std::string& user) {
  // The lookup would stop at a zero byte and find the user whose name is in front of it.
  if (user.find('\0') != std::string::npos) return std::nullopt;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): hash lists are read on one thread
  const passwd* entry = user.empty() ? ::getpwuid(::getuid()) : ::getpwnam(user.c_str());
  return entry != nullptr ? std::optional<std::string>(entry->pw_dir) : std::nullopt;
}

void raiseOpenFileLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

size_t freeDescriptors() {
  rlimit limit{};
  constexpr size_t kFewestByPOSIX = _POSIX_OPEN_MAX;
  const size_t most = ::getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : kFewestByPOSIX;
  return most - std::min(most, folderEntries("/proc/self/fd").size());
}

std::vector<std::string> mountedVolumes() {
  return isFolder(kVolumesFolder) ? folderEntries(kVolumesFolder) : mountFolders();
}

void openMissingStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    // open() takes the lowest free number, which is this one: the lower ones are open by now.
    if (::fcntl(descriptor, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
  }
}

#include "platform/files/RVXVolume.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "include/SplitText.h"
#include "platform/files/FileSystem.h"
#include "platform/files/PathText.h"
#include "platform/files/RVXFileHandle.h"
#include "platform/files/TextFile.h"

namespace {

// A line of /proc/self/mountinfo, proc(5).
struct Mount {
  std::string device;  // "MAJOR:MINOR"; the major of what has no block device is 0
  std::string mountPoint;
  std::string type;
  std::string source;
  std::string options;  // the file system's own
};

// The table writes blanks, line ends and backslashes as three octal digits.
std::string withoutOctalEscapes(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 3 < text.size()) {
      plain += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0'));
      i += 3;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

std::optional<Mount> mountNumber(const std::string& number) {
  const auto table = readTextFile("/proc/self/mountinfo");
  if (table.failed()) return std::nullopt;
  for (const std::string_view line : splitAt(table.value(), '\n')) {
    const std::vector<std::string_view> fields = splitAt(line, ' ');
    const auto dash = std::ranges::find(fields, std::string_view("-"));
    if (fields.front() != number || fields.end() - dash < 4) continue;
    return Mount{std::string(fields[2]), withoutOctalEscapes(fields[4]), std::string(dash[1]),
                 withoutOctalEscapes(dash[2]), std::string(dash[3])};
  }
  return std::nullopt;
}

std::optional<Mount> mountOfItem(const std::string& path) {
  struct statx status {};
  if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_MNT_ID, &status) != 0 ||
      (status.stx_mask & STATX_MNT_ID) == 0) {
    return std::nullopt;
  }
  return mountNumber(std::to_string(status.stx_mnt_id));
}

// The folder of a block device in /sys by a name of it there: "/sys/dev/block/8:1", "/sys/class/block/sda1".
// Partitions lie in their disk's.
std::optional<std::string> systemFolder(const std::string& name) {
  auto folder = realPath(name);
  if (folder && fileExists(*folder + "/partition")) folder = pathWithoutLastComponent(*folder);
  return folder;
}

void addDisk(RVXVolume& volume, const std::string& name) {
  if (std::ranges::find(volume.disks, name) == volume.disks.end()) volume.disks.push_back(name);
}

// Disks of virtual machines (virtio, Xen) call themselves rotational whatever lies behind them.
bool movesHeads(const std::string& systemFolder) {
  const std::string name = lastPathComponent(systemFolder);
  const auto rotational = readTextFile(systemFolder + "/queue/rotational");
  return rotational.succeeded() && rotational.value().starts_with('1') && !name.starts_with("vd") &&
         !name.starts_with("xvd");
}

void addBlockDevice(RVXVolume& volume, const std::string& systemName) {
  const auto folder = systemFolder(systemName);
  if (!folder) {
    addDisk(volume, lastPathComponent(systemName));
    return;
  }
  const std::vector<std::string> members = folderEntries(*folder + "/slaves");
  for (const std::string& member : members) addBlockDevice(volume, "/sys/class/block/" + member);
  if (!members.empty()) return;
  addDisk(volume, lastPathComponent(*folder));
  volume.isRotational = volume.isRotational || movesHeads(*folder);
}

// The number of the block device at `path`, as in /sys/dev/block.
std::optional<std::string> deviceNumber(const std::string& path) {
  const auto attributes = attributesOfTarget(path);
  if (attributes.failed() || attributes.value().type != RVXFileType::blockDevice) return std::nullopt;
  const dev_t device = attributes.value().identity.device;
  return std::to_string(major(device)) + ":" + std::to_string(minor(device));
}

// A btrfs has a number of its own, and names only one of its devices as its source.
void addBtrfsDevices(RVXVolume& volume, const std::string& sourceNumber) {
  const std::string all = "/sys/fs/btrfs";
  const auto source = realPath("/sys/dev/block/" + sourceNumber);
  for (const std::string& fileSystem : folderEntries(all)) {
    const std::string folder = pathByAppendingComponent(all, fileSystem) + "/devices";
    const std::vector<std::string> members = folderEntries(folder);
    if (!source || std::ranges::find(members, lastPathComponent(*source)) == members.end()) continue;
    for (const std::string& member : members) addBlockDevice(volume, "/sys/class/block/" + member);
  }
}

std::optional<std::string> addressOption(const std::string& options) {
  constexpr std::string_view kAddress = "addr=";
  for (const std::string_view option : splitAt(options, ',')) {
    if (option.starts_with(kAddress)) return std::string(option.substr(kAddress.size()));
  }
  return std::nullopt;
}

// By its address, where the table tells it: a server may have several names.
std::optional<std::string> serverOf(const Mount& mount) {
  static constexpr auto kNamedInSource =
      std::to_array<std::string_view>({"nfs", "nfs4", "ceph", "lustre", "glusterfs", "afs"});
  static constexpr auto kNamedBehindSlashes = std::to_array<std::string_view>({"cifs", "smb3", "smbfs"});
  static constexpr auto kOfTheHost = std::to_array<std::string_view>({"9p", "virtiofs"});
  const auto isOneOf = [&](const auto& types) { return std::ranges::find(types, mount.type) != types.end(); };
  const bool isBehindSlashes = isOneOf(kNamedBehindSlashes);
  if (!isBehindSlashes && !isOneOf(kNamedInSource)) {
    return isOneOf(kOfTheHost) ? std::optional<std::string>("the host") : std::nullopt;
  }
  if (auto address = addressOption(mount.options)) return address;
  if (!isBehindSlashes) return mount.source.substr(0, mount.source.find(":/"));
  const std::string server =
      mount.source.substr(std::min(mount.source.find_first_not_of('/'), mount.source.size()));
  return server.substr(0, server.find('/'));
}

void addDisks(RVXVolume& volume, const Mount& mount) {
  const auto sourceNumber = deviceNumber(mount.source);
  if (!mount.device.starts_with("0:")) {
    addBlockDevice(volume, "/sys/dev/block/" + mount.device);
  } else if (mount.type == "btrfs" && sourceNumber) {
    addBtrfsDevices(volume, *sourceNumber);
  } else if (const auto server = serverOf(mount)) {
    addDisk(volume, "server " + *server);
  } else if (mount.type == "fuse" || mount.type.starts_with("fuse.")) {
    addDisk(volume, "fuse " + mount.device);
  }
  if (volume.disks.empty() && sourceNumber) addBlockDevice(volume, "/sys/dev/block/" + *sourceNumber);
}

}  // namespace

RVXVolume RVXVolume::ofItem(const std::string& path) {
  RVXVolume volume;
  const auto mount = mountOfItem(path);
  if (!mount) return volume;
  volume.mountPoint = mount->mountPoint;
  addDisks(volume, *mount);
  return volume;
}

bool mayBeReadFromMemory(const std::string& path) {
  auto opened = RVXFileHandle::openWithoutPeer(path, O_RDONLY);
  return opened.succeeded() && opened.value().mayBeReadFromMemory();
}

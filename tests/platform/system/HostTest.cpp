#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include "include/Print.h"
#include "platform/system/Host.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/Text.h"
#include "tests/support/Tools.h"

TEST(HostTest, AsManyFilesMayBeOpenAsTheParentAllows) {
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const rlimit lowered{100, before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &lowered);
  EXPECT_LT(freeDescriptors(), 100U);
  raiseOpenFileLimit();
  EXPECT_GT(freeDescriptors(), before.rlim_max - 100);
  ::setrlimit(RLIMIT_NOFILE, &before);
}

// A machine that is made up.
class HostOtherRootTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!OtherRoot::isAllowed()) GTEST_SKIP() << "to change the root folder needs root";
  }

  [[nodiscard]] std::string computerName() const {
    return mRoot.outputOf([] { print("%s", textOrNull(userVisibleComputerName())); });
  }

  std::string computerNameByMachineInfo(const std::string& text) {
    mRoot.write("/etc/machine-info", text);
    return computerName();
  }

  // Of a machine with that host name and without a pretty one.
  [[nodiscard]] std::string computerNameByHostName(const std::string& hostName) const {
    return mRoot.outputOf([&] {
      if (::unshare(CLONE_NEWUTS) != 0 || ::sethostname(hostName.data(), hostName.size()) != 0) return;
      print("%s", textOrNull(userVisibleComputerName()));
    });
  }

  [[nodiscard]] std::vector<std::string> volumes() const {
    return linesOf(mRoot.outputOf([] {
      for (const std::string& volume : mountedVolumes()) print("%s\n", volume.c_str());
    }));
  }

  OtherRoot mRoot;
};

// As a shell reads it, which is what machine-info(5) says.
TEST_F(HostOtherRootTest, PrettyHostNameIsTheComputerNameElseTheHostName) {
  const std::string plainHostName = outputOfShell("printf %s \"$(uname -n)\"");
  EXPECT_EQ(computerName(), plainHostName);
  const struct {
    const char* machineInfo;
    std::string name;
  } cases[] = {{"# comment\n\nICON_NAME=computer\nPRETTY_HOSTNAME=cart\nCHASSIS=vm\n", "cart"},
               {"PRETTY_HOSTNAME=cart", "cart"},
               {"PRETTY_HOSTNAME=\"Anna's \\\"data\\\" cart \\\\ 1\"\n", "Anna's \"data\" cart \\ 1"},
               {"PRETTY_HOSTNAME='a \\\"b\" c'\n", "a \\\"b\" c"},
               {"PRETTY_HOSTNAME=data\\ cart\n", "data cart"},
               {"PRETTY_HOSTNAME=cart\\", "cart\\"},
               {"ICON_NAME=computer\n", plainHostName},
               {"PRETTY_HOSTNAME=\n", plainHostName},
               {"", plainHostName}};
  for (const auto& example : cases) EXPECT_EQ(computerNameByMachineInfo(example.machineInfo), example.name);
}

TEST_F(HostOtherRootTest, HostNamesOfEveryLength) {
  EXPECT_EQ(computerNameByHostName(""), "(null)");
  EXPECT_EQ(computerNameByHostName(std::string(64, 'c')), std::string(64, 'c'));  // the longest
}

TEST_F(HostOtherRootTest, VolumesFolderNamesTheVolumes) {
  mRoot.makeFolder("/Volumes/CARD");
  mRoot.makeFolder("/Volumes/A001");
  EXPECT_EQ(volumes(), (std::vector<std::string>{"A001", "CARD"}));
}

TEST_F(HostOtherRootTest, OnlyRealFileSystemsAreVolumes) {
  EXPECT_EQ(volumes(), std::vector<std::string>{});  // without a mount table
  mRoot.write("/proc/self/mounts",
              "/dev/sda1 / ext4 rw 0 0\n"
              "proc /proc proc rw 0 0\n"
              "tmpfs /run tmpfs rw 0 0\n"
              "/dev/sdb1 /media/CARD\\0401 exfat rw 0 0\n"
              "fuser /fuser fuser rw 0 0\n"
              "server:/raid /mnt/nfs nfs4 rw 0 0\n"
              "//server/raid /mnt/cifs cifs rw 0 0\n"
              "anna@server: /mnt/sshfs fuse.sshfs rw 0 0\n"
              "card /mnt/fuse fuse rw 0 0\n"
              "share /mnt/virtiofs virtiofs rw 0 0\n");
  EXPECT_EQ(volumes(), (std::vector<std::string>{"/", "/media/CARD 1", "/mnt/nfs", "/mnt/cifs", "/mnt/sshfs",
                                                 "/mnt/fuse", "/mnt/virtiofs"}));
}

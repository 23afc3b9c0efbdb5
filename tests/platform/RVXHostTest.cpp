#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "include/Print.h"
#include "platform/RVXHost.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Text.h"
#include "tests/support/Tools.h"

namespace {

// The folders of the mounts whose source or type begins like that, by the mount table's own text.
std::vector<std::string> mountsByShell(const std::string& condition) {
  return linesOf(outputOfShell("awk '" + condition + " { print $2 }' /proc/self/mounts"));
}

bool contains(const std::vector<std::string>& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

}  // namespace

TEST(RVXHostTest, ComputerNameIsTheOneThatTheSystemTells) {
  EXPECT_EQ(userVisibleComputerName(), toolComputerName());
}

TEST(RVXHostTest, EnvironmentVariable) {
  ::setenv("RVX_TEST_VARIABLE", "a value", 1);
  EXPECT_EQ(environmentVariable("RVX_TEST_VARIABLE"), "a value");
  ::setenv("RVX_TEST_VARIABLE", "", 1);
  EXPECT_EQ(environmentVariable("RVX_TEST_VARIABLE"), "");
  ::unsetenv("RVX_TEST_VARIABLE");
  EXPECT_FALSE(environmentVariable("RVX_TEST_VARIABLE").has_value());
}

TEST(RVXHostTest, ProcessNameHasNoFolder) {
  const std::string command = readFile("/proc/self/cmdline").c_str();  // up to the first argument's end
  EXPECT_EQ(processName(), command.substr(command.rfind('/') + 1));
}

TEST(RVXHostTest, HomeFolderOfAUser) {
  EXPECT_EQ(homeFolder("root"), outputOfShell("getent passwd root | cut -d: -f6 | tr -d '\\n'"));
  EXPECT_EQ(homeFolder(""), outputOfShell("getent passwd \"$(id -u)\" | cut -d: -f6 | tr -d '\\n'"));
  EXPECT_FALSE(homeFolder("no-such-user").has_value());
}

TEST(RVXHostTest, MountedVolumes) {
  const auto volumes = mountedVolumes();
  if (std::filesystem::is_directory("/Volumes")) {
    EXPECT_EQ(volumes, linesOf(outputOfShell("LC_ALL=C ls -A /Volumes")));
    return;
  }
  for (const std::string& folder : mountsByShell("$1 ~ /^\\/dev\\//")) {
    EXPECT_TRUE(contains(volumes, folder)) << folder;
  }
  const auto realFolders = mountsByShell("$3 !~ /^(proc|sysfs|tmpfs|devpts|devtmpfs|cgroup2?|mqueue)$/");
  for (const std::string& volume : volumes) EXPECT_TRUE(contains(realFolders, volume)) << volume;
}

TEST(RVXHostTest, MissingStandardDescriptorsAreOpened) {
  const ChildEnd end = runInChild([] {
    const int output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10);
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    openMissingStandardDescriptors();
    struct stat null {};
    ::stat("/dev/null", &null);
    std::string text;
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      struct stat status {};
      text += ::fstat(descriptor, &status) == 0 && status.st_rdev == null.st_rdev ? "1" : "0";
    }
    ::dup2(output, STDOUT_FILENO);
    print("%s", text.c_str());
  });
  EXPECT_EQ(end.output, "111");
}

TEST(RVXHostTest, OpenStandardDescriptorsStayAsTheyAre) {
  const ChildEnd end = runInChild([] {
    ::close(STDIN_FILENO);
    openMissingStandardDescriptors();
    print("still here");
  });
  EXPECT_EQ(end.output, "still here");
}

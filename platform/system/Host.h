#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// What the machine and the process environment tell about themselves.

// The computer's user-visible name: PRETTY_HOSTNAME of /etc/machine-info where set, else the host name; none
// when neither is there.
std::optional<std::string> userVisibleComputerName();

// The name by which the network knows the host; none when it can't be had.
std::optional<std::string> hostName();

// The name of the user as whom the process acts; the user's number where there is no name.
std::string effectiveUserName();

// The value of an environment variable; none when it is not set.
std::optional<std::string> environmentVariable(const std::string& name);

// The name of the running process, without its folder.
std::string processName();

// The home folder of that user, or of the process's own user when `user` is empty; none when there is none.
std::optional<std::string> homeFolder(const std::string& user);

// Lets the process open as many files as its parent allows it to ask for.
void raiseOpenFileLimit();

// How many more files the process may open. Its parent may have left it with many that are open already.
size_t freeDescriptors();

// The mounted volumes: the entries of /Volumes where that folder exists, elsewhere the folders on which the
// mount table has a real file system (one on a block device, from the network, or FUSE).
std::vector<std::string> mountedVolumes();

// Opens /dev/null on each of the descriptors 0 to 2 that the caller closed, so that no file of the run gets
// one of these numbers and receives what is meant for standard output. To be called before any file is
// opened.
void openMissingStandardDescriptors();

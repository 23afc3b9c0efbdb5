#pragma once

#include <cstdio>
#include <string>

#include "tests/support/Files.h"

// Expected values from programs that have nothing to do with the tested one.

// What a shell command prints.
inline std::string outputOfShell(const std::string& command) {
  FILE* const pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return "(no shell)";
  const std::string output = readRest(pipe);
  ::pclose(pipe);
  return output;
}

inline std::string digestByTool(const std::string& tool, const std::string& path) {
  const std::string output = outputOfShell(tool + " < '" + path + "'");
  return output.substr(0, output.find(' '));
}

inline std::string toolSHA1OfFile(const std::string& path) {
  return digestByTool("sha1sum", path);
}

inline std::string toolMD5OfFile(const std::string& path) {
  return digestByTool("md5sum", path);
}

inline std::string toolSHA1OfText(const std::string& text) {
  const TemporaryFolder folder;
  return toolSHA1OfFile(writeFile(folder.path("text"), text));
}

inline std::string toolMD5OfText(const std::string& text) {
  const TemporaryFolder folder;
  return toolMD5OfFile(writeFile(folder.path("text"), text));
}

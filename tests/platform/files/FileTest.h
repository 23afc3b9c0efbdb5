#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string_view>

#include "tests/support/Files.h"
#include "tests/support/Waiting.h"

// A folder of its own, the path of a file in it that is not there yet, and a limit of time.
class FileTest : public testing::Test {
 protected:
  const Deadline mDeadline;
  TemporaryFolder mFolder;
  std::string mFile = mFolder.path("file");
};

inline std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

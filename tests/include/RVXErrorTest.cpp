#include <gtest/gtest.h>

#include "include/RVXError.h"

namespace {

void expectError(const RVXError& error, const std::string& domain, int code, const std::string& description) {
  EXPECT_EQ(error.domain, domain);
  EXPECT_EQ(error.code, code);
  EXPECT_EQ(error.description, description);
}

}  // namespace

TEST(RVXErrorTest, CopySource) {
  expectError(RVXError::copySourceNotOpened(), "rvxcopy", 200, "can't open source file");
}

TEST(RVXErrorTest, CopyDestinationHasItsNumber) {
  expectError(RVXError::copyDestinationNotOpened(1), "rvxcopy", 201, "can't open destination file (#1)");
  expectError(RVXError::copyDestinationNotOpened(12), "rvxcopy", 201, "can't open destination file (#12)");
}

TEST(RVXErrorTest, CopiedLinkHasItsPath) {
  expectError(RVXError::copyLinkNotCreated("/d1/%s"), "rvxcopy", 201, "can't open destination file (/d1/%s)");
}

TEST(RVXErrorTest, VerifySource) {
  expectError(RVXError::verifySourceNotOpened(), "rvxverify", 200, "can't open source file");
}

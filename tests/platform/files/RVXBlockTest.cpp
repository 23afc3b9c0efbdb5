#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/files/RVXBlock.h"
#include "tests/support/ChildProcess.h"

namespace {

constexpr size_t kCapacity = 65536;
constexpr size_t kHugePage = size_t{2} << 20U;

// What the system says of the mapping that holds an address: the flags of proc(5), two letters each.
std::string mappingFlags(const std::byte* address) {
  const auto wanted = reinterpret_cast<uintptr_t>(address);
  std::ifstream mappings("/proc/self/smaps");
  bool isIn = false;
  for (std::string line; std::getline(mappings, line);) {
    std::istringstream words(line);
    uintptr_t start = 0;
    uintptr_t end = 0;
    char dash = 0;
    if (words >> std::hex >> start >> dash >> end && dash == '-') isIn = start <= wanted && wanted < end;
    if (isIn && line.starts_with("VmFlags:")) return line + " ";
  }
  return "";
}

size_t addressSpaceInUse() {
  size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<size_t>(::sysconf(_SC_PAGESIZE));
}

}  // namespace

TEST(RVXBlockTest, NewBlockHasItsCapacityAlignedForDirectTransfersAndNoData) {
  EXPECT_TRUE(RVXBlock().storage().empty());
  std::vector<RVXBlock> blocks;
  for (int i = 0; i < 5; ++i) {
    blocks.push_back(RVXBlock::withCapacity(kCapacity));
    EXPECT_EQ(blocks.back().storage().size(), kCapacity);
    EXPECT_TRUE(blocks.back().bytes().empty());
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks.back().storage().data()) % 4096, 0U);
  }
}

TEST(RVXBlockTest, MemoryIsAskedForInHugePages) {
  if (!std::filesystem::exists("/sys/kernel/mm/transparent_hugepage")) {
    GTEST_SKIP() << "skipped: the kernel has no transparent huge pages";
  }
  std::vector<RVXBlock> blocks;
  for (int i = 0; i < 3; ++i) {
    blocks.push_back(RVXBlock::withCapacity(2 * kHugePage));
    std::byte* const memory = blocks.back().storage().data();
    EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % kHugePage, 0U);
    EXPECT_NE(mappingFlags(memory).find(" hg "), std::string::npos) << mappingFlags(memory);
    EXPECT_NE(mappingFlags(memory + 2 * kHugePage - 1).find(" hg "), std::string::npos);
  }
}

TEST(RVXBlockTest, BlocksTakeNoMoreAddressesThanTheyHold) {
  constexpr size_t kCount = 50;
  const size_t before = addressSpaceInUse();
  std::vector<RVXBlock> blocks(kCount);
  for (RVXBlock& block : blocks) block = RVXBlock::withCapacity(2 * kHugePage);
  EXPECT_LT(addressSpaceInUse() - before, (kCount + 1) * 2 * kHugePage);
}

TEST(RVXBlockTest, MemoryOfADestroyedBlockIsUsedAgain) {
  const std::byte* memory = nullptr;
  {
    RVXBlock block = RVXBlock::withCapacity(kCapacity);
    memory = block.storage().data();
  }
  RVXBlock next = RVXBlock::withCapacity(kCapacity);
  EXPECT_EQ(next.storage().data(), memory);
  EXPECT_EQ(next.length(), 0U);
}

TEST(RVXBlockTest, BlocksOfSeveralCapacitiesDontShareMemory) {
  RVXBlock small = RVXBlock::withCapacity(4096);
  RVXBlock large = RVXBlock::withCapacity(2 * kCapacity);
  { const RVXBlock other = RVXBlock::withCapacity(4096); }
  std::memset(small.storage().data(), 1, small.storage().size());
  std::memset(large.storage().data(), 2, large.storage().size());
  small.setLength(4096);
  EXPECT_EQ(small.bytes().back(), std::byte{1});
  EXPECT_EQ(large.storage().size(), 2 * kCapacity);
}

TEST(RVXBlockTest, MovedOrAssignedBlockTakesMemoryAndLengthAlong) {
  RVXBlock block = RVXBlock::withCapacity(kCapacity);
  const std::byte* const memory = block.storage().data();
  block.setLength(10);
  RVXBlock moved(std::move(block));
  RVXBlock assigned = RVXBlock::withCapacity(kCapacity);
  assigned = std::move(moved);
  EXPECT_EQ(assigned.bytes().data(), memory);
  EXPECT_EQ(assigned.storage().size(), kCapacity);
  EXPECT_EQ(assigned.length(), 10U);
}

TEST(RVXBlockTest, BlocksAreMadeAndDestroyedOnAnyThread) {
  std::vector<RVXBlock> blocks(4);
  {
    std::vector<std::jthread> threads;
    for (RVXBlock& block : blocks) {
      threads.emplace_back([&block] {
        for (int i = 0; i < 500; ++i) {
          block = RVXBlock::withCapacity(4096);
          std::memset(block.storage().data(), i % 256, 4096);
        }
      });
    }
  }
  for (RVXBlock& block : blocks) EXPECT_EQ(block.storage()[4095], static_cast<std::byte>(499 % 256));
}

TEST(RVXBlockTest, RefusedMemoryEndsTheProcess) {
  const ChildEnd end = runInChild([] { RVXBlock::withCapacity(size_t{1} << 60U); });
  EXPECT_EQ(end.status, 117);
  EXPECT_EQ(end.output, "ERROR: No memory available: Cannot allocate memory\n");
}

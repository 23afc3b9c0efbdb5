#include "platform/RVXBlock.h"

#include <sys/mman.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "include/EndProcess.h"
#include "platform/RVXIOFailure.h"
#include "platform/RVXMutex.h"

namespace {

// The memory of destroyed blocks, all of one capacity. A run works with one capacity at a time (that of the
// copy, then that of the verification), so memory of the former one is given back when the next is asked for.
class RVXBlockMemory {
 public:
  std::byte* take(size_t capacity) {
    {
      const RVXMutexLock lock(mLock);
      if (capacity == mCapacity && !mFree.empty()) {
        std::byte* const memory = mFree.back();
        mFree.pop_back();
        return memory;
      }
      if (capacity != mCapacity) releaseAll();
      mCapacity = capacity;
    }
    return map(capacity);
  }

  void giveBack(std::byte* memory, size_t capacity) {
    const RVXMutexLock lock(mLock);
    if (capacity == mCapacity) {
      mFree.push_back(memory);
    } else {
      ::munmap(memory, capacity);
    }
  }

 private:
  static std::byte* map(size_t capacity) {
    void* const memory =
        ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) endProcessWithout("memory", failureFromErrno().reason.c_str());
    return static_cast<std::byte*>(memory);
  }

  void releaseAll() RVX_REQUIRES(mLock) {
    for (std::byte* const memory : mFree) ::munmap(memory, mCapacity);
    mFree.clear();
  }

  RVXMutex mLock;
  size_t mCapacity RVX_GUARDED_BY(mLock) = 0;
  std::vector<std::byte*> mFree RVX_GUARDED_BY(mLock);
};

// Never destroyed: blocks may outlive any point at which it could be.
RVXBlockMemory& blockMemory() {
  static auto* const memory = new RVXBlockMemory;
  return *memory;
}

}  // namespace

RVXBlock RVXBlock::withCapacity(size_t capacity) {
  RVXBlock block;
  block.mMemory = blockMemory().take(capacity);
  block.mCapacity = capacity;
  return block;
}

RVXBlock::RVXBlock(RVXBlock&& other) noexcept
    : mMemory(std::exchange(other.mMemory, nullptr)),
      mCapacity(std::exchange(other.mCapacity, 0)),
      mLength(std::exchange(other.mLength, 0)) {}

RVXBlock& RVXBlock::operator=(RVXBlock&& other) noexcept {
  std::swap(mMemory, other.mMemory);
  std::swap(mCapacity, other.mCapacity);
  std::swap(mLength, other.mLength);
  return *this;
}

RVXBlock::~RVXBlock() {
  if (mMemory != nullptr) blockMemory().giveBack(mMemory, mCapacity);
}

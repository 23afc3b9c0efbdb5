#include "platform/files/RVXBlock.h"

#include <sys/mman.h>

#include <cerrno>
#include <memory>
#include <utility>
#include <vector>

#include "include/EndProcess.h"
#include "platform/files/RVXIOFailure.h"
#include "platform/threads/RVXMutex.h"

namespace {

// A device takes only a limited number of memory pieces in one request. In huge pages a block has one or two,
// and its direct transfer is one request instead of several: with 4 MiB from ext4 one instead of four.
constexpr size_t kHugePage = size_t{2} * 1024 * 1024;

constexpr size_t kSmallestPage = 4096;  // of all machines

size_t inWholePages(size_t capacity, size_t page) {
  return (capacity + page - 1) / page * page;
}

// The memory of destroyed blocks, all of one capacity. A run works with one large capacity at a time (that of
// the copy, then that of the verification), so memory of the former one is given back when the next is asked
// for.
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
      unmap(memory, capacity);
    }
  }

 private:
  static std::byte* map(size_t capacity) {
    const size_t length = mappedLength(capacity);
    if (capacity < kHugePage) return touched(mapPages(length), length);
    std::byte* const memory = cutToHugePages(mapPages(length + kHugePage), length);
    // Its failure does not matter: without huge pages the memory is as good, but slower.
    ::madvise(memory, length, MADV_HUGEPAGE);
    return touched(memory, length);
  }

  // To fill a huge page with zeros takes longer than to read a small file into a small block.
  static size_t mappedLength(size_t capacity) {
    return inWholePages(capacity, capacity < kHugePage ? kSmallestPage : kHugePage);
  }

  static std::byte* mapPages(size_t length) {
    void* const mapped = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) endProcessWithout("memory", failureFromErrno(errno).reason.c_str());
    return static_cast<std::byte*>(mapped);
  }

  // Makes every page present. Where memory was never touched, btrfs quietly serves a direct read into it
  // through the page cache, and so from memory where the file's pages can't be dropped.
  static std::byte* touched(std::byte* memory, size_t length) {
    for (size_t i = 0; i < length; i += kSmallestPage) {
      *static_cast<volatile std::byte*>(memory + i) = std::byte{0};
    }
    return memory;
  }

  // Gives back what a mapping of `length` and one huge page more has before and after whole huge pages.
  static std::byte* cutToHugePages(std::byte* mapped, size_t length) {
    void* start = mapped;
    size_t space = length + kHugePage;
    std::align(kHugePage, length, start, space);
    auto* const memory = static_cast<std::byte*>(start);
    ::munmap(mapped, static_cast<size_t>(memory - mapped));
    ::munmap(memory + length, space - length);
    return memory;
  }

  static void unmap(std::byte* memory, size_t capacity) { ::munmap(memory, mappedLength(capacity)); }

  void releaseAll() RVX_REQUIRES(mLock) {
    for (std::byte* const memory : mFree) unmap(memory, mCapacity);
    mFree.clear();
  }

  RVXMutex mLock;
  size_t mCapacity RVX_GUARDED_BY(mLock) = 0;
  std::vector<std::byte*> mFree RVX_GUARDED_BY(mLock);
};

// That of large blocks and that of small ones, which a run uses side by side. Never destroyed, because blocks
// may live until the process ends.
RVXBlockMemory& blockMemory(size_t capacity) {
  static auto* const large = new RVXBlockMemory;
  static auto* const small = new RVXBlockMemory;
  return capacity < kHugePage ? *small : *large;
}

}  // namespace

RVXBlock RVXBlock::withCapacity(size_t capacity) {
  RVXBlock block;
  block.mMemory = blockMemory(capacity).take(capacity);
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
  if (mMemory != nullptr) blockMemory(mCapacity).giveBack(mMemory, mCapacity);
}

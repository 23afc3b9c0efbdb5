#pragma once

#include <cstddef>
#include <span>

// A piece of a file in memory, ready for direct I/O: aligned, with every page present, and from 2 MiB on in
// huge pages where the system has them. Move-only. Its memory is recycled: a new block takes over the memory,
// already mapped, of a destroyed one of the same capacity. Blocks may be made and destroyed on any thread; a
// block itself is used by one thread at a time, or read by many.
class RVXBlock {
 public:
  // A block of no capacity.
  RVXBlock() = default;
  // The contents are undefined. Ends the process when there is no memory.
  static RVXBlock withCapacity(size_t capacity);

  RVXBlock(RVXBlock&& other) noexcept;
  RVXBlock& operator=(RVXBlock&& other) noexcept;
  ~RVXBlock();

  // The bytes that hold data.
  [[nodiscard]] size_t length() const { return mLength; }
  [[nodiscard]] std::span<const std::byte> bytes() const { return {mMemory, mLength}; }

  // All the memory, for filling; setLength() then says how much holds data.
  [[nodiscard]] std::span<std::byte> storage() { return {mMemory, mCapacity}; }
  void setLength(size_t length) { mLength = length; }

 private:
  std::byte* mMemory = nullptr;
  size_t mCapacity = 0;
  size_t mLength = 0;
};

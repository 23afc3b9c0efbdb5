#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

#include "check/RVXNameTree.h"
#include "platform/threads/RVXThread.h"

// Reads the files of all disks side by side. Each disk has a queue, whose files are begun in its order, and
// threads of its own.
class RVXReaders {
 public:
  // `readFile` is called with each file, on any thread; it must not throw.
  explicit RVXReaders(std::function<void(RVXNode)> readFile) : mReadFile(std::move(readFile)) {}

  // Adds a disk and starts to read its files, at most `atOnce` at a time. To be called from one thread.
  void readDisk(std::vector<RVXNode> files, size_t atOnce);

  // The file that was begun last, to be shown; kNone before the first.
  [[nodiscard]] RVXNode lastBegun() const { return mLastBegun.load(std::memory_order_relaxed); }

 private:
  struct Queue {
    std::vector<RVXNode> files;
    std::atomic<size_t> next{0};
  };

  void work(Queue& queue);

  const std::function<void(RVXNode)> mReadFile;
  std::atomic<RVXNode> mLastBegun{RVXNameTree::kNone};
  std::deque<Queue> mQueues;
  std::deque<RVXThread> mThreads;  // last member: they are joined before what they use is destroyed
};

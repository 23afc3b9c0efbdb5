#include "check/RVXReaders.h"

#include <algorithm>
#include <utility>

void RVXReaders::readDisk(std::vector<RVXNode> files, size_t atOnce) {
  Queue& queue = mQueues.emplace_back();
  queue.files = std::move(files);
  for (size_t i = 0; i < std::min(atOnce, queue.files.size()); ++i) {
    mThreads.emplace_back([this, &queue] { work(queue); });
  }
}

void RVXReaders::work(Queue& queue) {
  while (true) {
    // Each number is drawn once, and the queue was complete before the thread began: relaxed is enough.
    const size_t number = queue.next.fetch_add(1, std::memory_order_relaxed);
    if (number >= queue.files.size()) return;
    mLastBegun.store(queue.files[number], std::memory_order_relaxed);
    mReadFile(queue.files[number]);
  }
}

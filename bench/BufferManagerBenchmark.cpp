#include <benchmark/benchmark.h>

#include <deque>
#include <thread>

#include "copy/RVXCopyBufferManager.h"
#include "platform/threads/RVXThread.h"

namespace {

constexpr int kBuffers = 2000;
constexpr size_t kBufferSize = 4096;  // small, so that the hand-off is seen and not the memory

void consumeAsDigest(RVXCopyBufferManager& manager) {
  while (manager.nextBufferForDigest() != nullptr) manager.finishedDigest();
}

void consumeAsWriter(RVXCopyBufferManager& manager, int64_t index) {
  while (manager.nextBufferForWritingInThread(index) != nullptr) manager.finishedWritingInThread(index);
}

// The hand-off of one buffer from the reader to all its consumers, by the number of writers. The reader does
// not sleep here when it has to wait, so what is measured is the manager and the system's wake-ups.
void handOff(benchmark::State& state) {
  const int64_t writers = state.range(0);
  for (auto _ : state) {
    const auto manager = RVXCopyBufferManager::initWithNumberOfWriterThreads(writers);
    std::deque<RVXThread> consumers;
    consumers.emplace_back([&] { consumeAsDigest(*manager); });
    for (int64_t index = 0; index < writers; ++index) {
      consumers.emplace_back([&, index] { consumeAsWriter(*manager, index); });
    }
    for (int i = 0; i < kBuffers; ++i) {
      while (!manager->willAcceptReadBuffer()) std::this_thread::yield();
      RVXBlock buffer = RVXBlock::withCapacity(kBufferSize);
      buffer.setLength(kBufferSize);
      manager->addReadBuffer(std::move(buffer));
    }
    manager->setFinishedReading();
    consumers.clear();
  }
  state.SetItemsProcessed(state.iterations() * kBuffers);
}

BENCHMARK(handOff)->DenseRange(0, 8)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

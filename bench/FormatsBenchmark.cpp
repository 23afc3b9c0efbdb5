#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "formats/RVXFileSequence.h"
#include "formats/RVXHashList.h"

namespace {

constexpr int kEntries = 100000;

RVXHashList filledList() {
  RVXHashList list = RVXHashList::init();
  for (int i = 0; i < kEntries; ++i) {
    list.addHash(std::string(40, 'a'), "SHA1", "../frame_" + std::to_string(i) + ".dpx");
  }
  return list;
}

std::string listPath() {
  return std::filesystem::temp_directory_path() / "rvxcopy-benchmark.sha1";
}

void frameNames(benchmark::State& state) {
  const auto sequence = RVXFileSequence::initWithIdentifier("/media/card/frame_1-100000######.dpx");
  for (auto _ : state) {
    for (uint64_t i = 0; i < sequence->duration(); ++i)
      benchmark::DoNotOptimize(sequence->filenameForIndex(i));
  }
  state.SetItemsProcessed(state.iterations() * kEntries);
}

void longIdentifier(benchmark::State& state) {
  const std::string identifier = std::string(1 << 20, 'x') + "1-2####.dpx";
  for (auto _ : state) benchmark::DoNotOptimize(RVXFileSequence::initWithIdentifier(identifier));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(identifier.size()));
}

void addEntries(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(filledList());
  state.SetItemsProcessed(state.iterations() * kEntries);
}

void lookUpEntries(benchmark::State& state) {
  const RVXHashList list = filledList();
  for (auto _ : state) {
    for (int i = 0; i < kEntries; ++i) {
      benchmark::DoNotOptimize(list.hashStringForFile("../frame_" + std::to_string(i) + ".dpx"));
    }
  }
  state.SetItemsProcessed(state.iterations() * kEntries);
}

void writeList(benchmark::State& state) {
  RVXHashList list = filledList();
  for (auto _ : state) {
    if (!list.writeToFile(listPath(), true)) state.SkipWithError("not written");
  }
  std::remove(listPath().c_str());
  state.SetItemsProcessed(state.iterations() * kEntries);
}

void readList(benchmark::State& state) {
  filledList().writeToFile(listPath(), true);
  for (auto _ : state) {
    if (!RVXHashList::initWithPath(listPath())) state.SkipWithError("not read");
  }
  std::remove(listPath().c_str());
  state.SetItemsProcessed(state.iterations() * kEntries);
}

BENCHMARK(frameNames)->Unit(benchmark::kMillisecond);
BENCHMARK(longIdentifier)->Unit(benchmark::kMillisecond);
BENCHMARK(addEntries)->Unit(benchmark::kMillisecond);
BENCHMARK(lookUpEntries)->Unit(benchmark::kMillisecond);
BENCHMARK(writeList)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(readList)->Unit(benchmark::kMillisecond);

}  // namespace

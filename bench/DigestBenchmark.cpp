#include <benchmark/benchmark.h>

#include <vector>

#include "platform/system/RVXDigest.h"

namespace {

// What one core digests a second, by the size of the blocks it is fed: the limit of everything else.
void digestBlocks(benchmark::State& state, HashAlgorithm algorithm) {
  const std::vector<std::byte> block(static_cast<size_t>(state.range(0)), std::byte{0x5A});
  RVXDigest digest(algorithm);
  for (auto _ : state) digest.update(block);
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

// A file of one small block, with all that a digest needs beside it.
void digestSmallFile(benchmark::State& state, HashAlgorithm algorithm) {
  const std::vector<std::byte> block(1);
  for (auto _ : state) {
    RVXDigest digest(algorithm);
    digest.update(block);
    benchmark::DoNotOptimize(digest.final());
  }
}

BENCHMARK_CAPTURE(digestBlocks, md5, HashAlgorithm::MD5)->RangeMultiplier(8)->Range(4096, 4 << 20);
BENCHMARK_CAPTURE(digestBlocks, sha1, HashAlgorithm::SHA1)->RangeMultiplier(8)->Range(4096, 4 << 20);
BENCHMARK_CAPTURE(digestSmallFile, md5, HashAlgorithm::MD5);
BENCHMARK_CAPTURE(digestSmallFile, sha1, HashAlgorithm::SHA1);

}  // namespace

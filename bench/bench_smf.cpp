// Reading and writing the benchmark MIDI file (SmfBenchFile.h), about two
// million events. Besides the benchmarks:
//   bench_smf --generate PATH   writes the file
//   bench_smf --read PATH [N]   reads it N times (default 5), prints the best
//                               time in seconds and the events seen
// which bench/smf_peers.sh uses to compare with other readers.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "SmfBenchFile.h"
#include "foundation/FFileStream.h"
#include "foundation/FMemoryStream.h"
#include "midi/smf/MSmfReader.h"

namespace {

using namespace vantor;

// Callbacks that do trivial work: count and sum, so nothing is optimised
// away.
class CountingReader : public MSmfReader {
 public:
  int64_t events = 0;
  int64_t checksum = 0;
  MSmfTrackHandle createTrack(int index) override { return reinterpret_cast<MSmfTrackHandle>(intptr_t{index} + 1); }
  void channelEvent(MSmfTrackHandle, int64_t tick, uint8_t status, uint8_t data1, uint8_t data2) override {
    ++events;
    checksum += tick + status + data1 + data2;
  }
  void systemExclusive(MSmfTrackHandle, int64_t tick, const uint8_t*, uint32_t count) override {
    ++events;
    checksum += tick + count;
  }
  void metaEvent(MSmfTrackHandle, int64_t, uint8_t, uint32_t length, const uint8_t*) override {
    ++events;
    checksum += length;
  }
  void tempo(int64_t tick, float seconds) override {
    ++events;
    checksum += tick + static_cast<int64_t>(seconds * 1e6f);
  }
  void timeSignature(int64_t tick, int numerator, int denominator) override {
    ++events;
    checksum += tick + numerator + denominator;
  }
};

std::string benchPath() {
  static const std::string path = [] {
    const auto dir = std::filesystem::temp_directory_path() / "vantor-bench-smf";
    std::filesystem::create_directories(dir);
    const std::string file = (dir / "bench.mid").string();
    if (!bench::writeSmfBenchFile(file)) std::abort();
    return file;
  }();
  return path;
}

bool readOnce(const std::string& path, CountingReader* reader) {
  FFileStream stream;
  return stream.open(path, FFileStream::Mode::kRead) && reader->read(stream);
}

void BM_SmfRead(benchmark::State& state) {
  const std::string path = benchPath();
  int64_t events = 0;
  for (auto _ : state) {
    CountingReader reader;
    if (!readOnce(path, &reader)) state.SkipWithError("read failed");
    benchmark::DoNotOptimize(reader.checksum);
    events = reader.events;
  }
  state.counters["events"] = static_cast<double>(events);
  state.SetItemsProcessed(state.iterations() * events);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(std::filesystem::file_size(path)));
}
BENCHMARK(BM_SmfRead)->Unit(benchmark::kMillisecond);

void BM_SmfWriteFile(benchmark::State& state) {
  const std::string path = benchPath() + ".out";
  for (auto _ : state) {
    if (!bench::writeSmfBenchFile(path)) state.SkipWithError("write failed");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(std::filesystem::file_size(path)));
  std::filesystem::remove(path);
}
BENCHMARK(BM_SmfWriteFile)->Unit(benchmark::kMillisecond);

void BM_SmfWriteMemory(benchmark::State& state) {
  for (auto _ : state) {
    FMemoryStream stream;
    MSmfWriter writer(stream);
    if (!bench::writeSmfBenchFile(writer)) state.SkipWithError("write failed");
    benchmark::DoNotOptimize(stream.data().data());
  }
}
BENCHMARK(BM_SmfWriteMemory)->Unit(benchmark::kMillisecond);

int readMode(const char* path, int times) {
  double best = 1e30;
  int64_t events = 0;
  for (int i = 0; i < times; ++i) {
    CountingReader reader;
    const auto start = std::chrono::steady_clock::now();
    if (!readOnce(path, &reader)) {
      std::fprintf(stderr, "bench_smf: cannot read %s\n", path);
      return 1;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    best = std::min(best, took.count());
    events = reader.events;
  }
  std::printf("%.6f %lld\n", best, static_cast<long long>(events));
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 3 && std::strcmp(argv[1], "--generate") == 0) {
    if (bench::writeSmfBenchFile(argv[2])) return 0;
    std::fprintf(stderr, "bench_smf: cannot write %s\n", argv[2]);
    return 1;
  }
  if (argc >= 3 && std::strcmp(argv[1], "--read") == 0) return readMode(argv[2], argc >= 4 ? std::atoi(argv[3]) : 5);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

// Tempo conversions per second, both directions, over a map of 10,000
// changes with ramps and jumps: single conversions at random positions,
// batches of ascending positions, and as the peer a plain walk over the
// changes from the start (what a map without a segment table costs).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "model/MModelInit.h"
#include "model/time/MTempoTrack.h"

namespace vantor {
namespace {

constexpr int kChanges = 10000;
constexpr size_t kBatch = 4096;

FRef<MTempoTrackNode> makeMap() {
  initializeModel();
  auto track = makeRef<MTempoTrackNode>();
  FRef<MAccessor> accessor = track->getWriteAccessor();
  std::mt19937 random(7);
  std::uniform_real_distribution<double> bpm(40, 240);
  double position = 0;
  for (int i = 1; i < kChanges; ++i) {
    position += 240.0 + static_cast<double>(random() % 1920);
    const int32_t func = random() % 2 == 0 ? MTempoFunc::kRamp : MTempoFunc::kJump;
    if (!accessor->insert(makeRef<MTempoEvent>(position, bpm(random), func))) return nullptr;
  }
  return track;
}

const MTempoTrackNode& map() {
  static FRef<MTempoTrackNode> track = makeMap();
  return *track;
}

double endPulses() { return map().tempoEvent(map().tempoCount() - 1)->getStart(); }

std::vector<double> randomValues(double high, size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> value(0, high);
  std::vector<double> values(count);
  for (double& v : values) v = value(random);
  return values;
}

// The peer: seconds at p by walking the changes from the first one.
double secondsByWalk(const MTempoTrackNode& track, double p) {
  size_t i = 0;
  while (i + 1 < track.tempoCount() && track.tempoEvent(i + 1)->getStart() <= p) ++i;
  const MTempoEvent* a = track.tempoEvent(i);
  const MTempoEvent* b = i + 1 < track.tempoCount() ? track.tempoEvent(i + 1) : nullptr;
  const double d = p - a->getStart();
  if (b == nullptr || !b->isRamp() || b->getBPM() == a->getBPM()) {
    return a->getTime() + static_cast<double>(a->getSPB()) * d / 480.0;
  }
  const double perPulse = (b->getBPM() - a->getBPM()) / (b->getStart() - a->getStart());
  return a->getTime() + 60.0 / (perPulse * 480.0) * std::log1p(perPulse * d / a->getBPM());
}

void BM_SecondsAtSingle(benchmark::State& state) {
  const MTempoTrackNode& track = map();
  const std::vector<double> pulses = randomValues(endPulses(), 1 << 16, 1);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(track.secondsAt(pulses[i]));
    i = (i + 1) & (pulses.size() - 1);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SecondsAtSingle);

void BM_PulsesAtSingle(benchmark::State& state) {
  const MTempoTrackNode& track = map();
  const std::vector<double> seconds = randomValues(track.secondsAt(endPulses()), 1 << 16, 2);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(track.pulsesAt(seconds[i]));
    i = (i + 1) & (seconds.size() - 1);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PulsesAtSingle);

void BM_SecondsAtBatch(benchmark::State& state) {
  const MTempoTrackNode& track = map();
  std::vector<double> pulses = randomValues(endPulses(), kBatch, 3);
  std::sort(pulses.begin(), pulses.end());
  std::vector<double> seconds(kBatch);
  for (auto _ : state) {
    track.secondsAt(pulses, seconds);
    benchmark::DoNotOptimize(seconds.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kBatch));
}
BENCHMARK(BM_SecondsAtBatch);

void BM_PulsesAtBatch(benchmark::State& state) {
  const MTempoTrackNode& track = map();
  std::vector<double> seconds = randomValues(track.secondsAt(endPulses()), kBatch, 4);
  std::sort(seconds.begin(), seconds.end());
  std::vector<double> pulses(kBatch);
  for (auto _ : state) {
    track.pulsesAt(seconds, pulses);
    benchmark::DoNotOptimize(pulses.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kBatch));
}
BENCHMARK(BM_PulsesAtBatch);

void BM_SecondsByWalkPeer(benchmark::State& state) {
  const MTempoTrackNode& track = map();
  const std::vector<double> pulses = randomValues(endPulses(), 1 << 10, 5);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(secondsByWalk(track, pulses[i]));
    i = (i + 1) & (pulses.size() - 1);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SecondsByWalkPeer);

}  // namespace
}  // namespace vantor

BENCHMARK_MAIN();

// The real-time engine's cost per JACK period: RPlaybackEngine::process for
// 256 frames at 48 kHz over the streamed segment source, on the render
// benchmark's project (16 stereo audio tracks and 8 MIDI tracks through the
// built-in synthesizer), reported as a share of the period's 5.33 ms: the
// mean (share_mean), the 99th percentile (share_p99) and the worst period
// (share_max). The peer in the same run is the engine over the direct
// source, as the offline render reads. The disk thread is given time to
// refill every quarter second of frames, outside the timing: this process
// runs faster than real time, a real period leaves the disk ample time.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "RenderBenchProject.h"
#include "document/PDocument.h"
#include "document/PDocumentInit.h"
#include "document/PPreferences.h"
#include "foundation/FUserMessages.h"
#include "render/RInstrumentFactory.h"
#include "render/RPlaybackEngine.h"
#include "render/engine/RPlanBuilder.h"
#include "render/offline/RDirectSegmentSource.h"
#include "render/realtime/RStreamedSegmentSource.h"

namespace {

using namespace vantor;
using namespace std::chrono_literals;

constexpr int kPeriod = 256;
constexpr double kPeriodSeconds = static_cast<double>(kPeriod) / bench::kRate;
constexpr int kRefillPeriods = bench::kRate / 4 / kPeriod;

void periodCost(benchmark::State& state) {
  initializeDocument();
  FCapturedMessages messages;
  PPreferences preferences;
  PDocument document(messages, preferences);
  if (!bench::buildBenchProject(*document.project(), true)) {
    state.SkipWithError("the track files could not be written");
    return;
  }
  auto plan = std::make_shared<RPlaybackPlan>();
  std::string error;
  if (!buildPlaybackPlan(document, {}, plan.get(), &error)) {
    state.SkipWithError(error.c_str());
    return;
  }
  const bool streamed = state.range(0) == 0;
  std::unique_ptr<RStreamedSegmentSource> streaming;
  std::unique_ptr<RDirectSegmentSource> direct;
  RSegmentSource* source = nullptr;
  if (streamed) {
    streaming = std::make_unique<RStreamedSegmentSource>(plan, RStreamedSegmentSource::Options{});
    source = streaming.get();
  } else {
    direct = std::make_unique<RDirectSegmentSource>(*plan);
    source = direct.get();
  }
  RPlaybackEngine engine;
  if (!engine.prepare(plan, source, RStandardInstrumentFactory(), kPeriod, &error)) {
    state.SkipWithError(error.c_str());
    return;
  }
  const int64_t end = int64_t{bench::kRate} * bench::kSeconds;
  const auto refill = [&](bool restart) {
    if (restart) engine.locate(0);
    if (streaming && !(streaming->waitUntilReady(10s) && streaming->waitUntilFilled(10s))) {
      state.SkipWithError("the disk thread did not fill the buffers");
    }
  };
  refill(true);
  std::vector<float> left(kPeriod), right(kPeriod);
  std::vector<double> seconds;
  int periods = 0;
  for (auto _ : state) {
    const auto begin = std::chrono::steady_clock::now();
    engine.process(left.data(), right.data(), kPeriod);
    if (streaming) streaming->advance(kPeriod);
    seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    benchmark::DoNotOptimize(left.data());
    if (++periods % kRefillPeriods == 0 || engine.position() + kPeriod > end) {
      state.PauseTiming();
      refill(engine.position() + kPeriod > end);
      state.ResumeTiming();
    }
  }
  std::sort(seconds.begin(), seconds.end());
  double total = 0;
  for (double s : seconds) total += s;
  const auto share = [](double s) { return 100.0 * s / kPeriodSeconds; };
  state.counters["share_mean"] = share(total / static_cast<double>(seconds.size()));
  state.counters["share_p99"] = share(seconds[seconds.size() * 99 / 100]);
  state.counters["share_max"] = share(seconds.back());
  state.counters["underruns"] = static_cast<double>(engine.missedReads());
}
BENCHMARK(periodCost)->Arg(0)->Arg(1)->ArgNames({"direct"})->Unit(benchmark::kMicrosecond)->Iterations(40000);

}  // namespace

BENCHMARK_MAIN();

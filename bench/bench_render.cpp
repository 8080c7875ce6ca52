// The offline render of a generated project, reported as times faster than
// real time (counter x_realtime): 16 stereo audio tracks of 30 s (24-bit
// WAVE, each with its own pan and volume), alone and with 8 MIDI tracks of
// eighth notes through the built-in synthesizer, written as 24-bit WAVE.
// The audio files are made once in $VANTOR_BENCH_RENDER_DIR (default
// /tmp/vantor-bench-render), where bench/render.sh mixes the same files with
// `sox -m` for the ratio.

#include <benchmark/benchmark.h>

#include <string>

#include "RenderBenchProject.h"
#include "document/PDocument.h"
#include "document/PDocumentInit.h"
#include "document/PPreferences.h"
#include "foundation/FUserMessages.h"
#include "render/offline/ROfflineRender.h"

namespace {

using namespace vantor;
using bench::folder;
using bench::kRate;
using bench::kSeconds;

void render(benchmark::State& state) {
  initializeDocument();
  FCapturedMessages messages;
  PPreferences preferences;
  PDocument document(messages, preferences);
  if (!bench::buildBenchProject(*document.project(), state.range(0) != 0)) {
    state.SkipWithError("the track files could not be written");
    return;
  }
  RRenderSettings settings;
  settings.to = int64_t{kRate} * kSeconds;
  const std::string out = (folder() / "mix.wav").string();
  for (auto _ : state) {
    RRenderResult result;
    std::string error;
    if (!renderProject(document, out, settings, &result, &error)) {
      state.SkipWithError(error.c_str());
      return;
    }
  }
  state.counters["x_realtime"] =
      benchmark::Counter(static_cast<double>(kSeconds) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(render)->Arg(0)->Arg(1)->ArgNames({"midi"})->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();

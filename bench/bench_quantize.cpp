// Quantize at scale: a MIDI part of a million notes quantized as one
// undoable action (building the action, performing it), then undone and
// redone. The peer is the same change written straight into the notes with
// one sort of the part, without commands: what the command costs on top of
// the edit itself. Notes lie off the grid, so nearly all of them move, and
// one in eight overtakes its neighbour, so the part's order changes too.

#include <benchmark/benchmark.h>

#include <chrono>
#include <random>
#include <vector>

#include "midi/MMidiInit.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "midi/quantize/MBarSource.h"
#include "midi/quantize/MQuantizeFunctions.h"
#include "model/tree/MEventContainer.h"
#include "model/undo/MCommand.h"

namespace vantor {
namespace {

FRef<MMidiPart> makePart(int64_t count) {
  FRef<MMidiPart> part = makeRef<MMidiPart>();
  std::mt19937 rng(1);
  std::uniform_real_distribution<double> jitter(-50, 50);
  for (int64_t i = 0; i < count; ++i) {
    FRef<MMidiNote> note = makeRef<MMidiNote>();
    note->setStart(std::max(0.0, 60.0 * static_cast<double>(i) + jitter(rng)));
    note->setLength(50);
    note->setData1(static_cast<uint8_t>(i % 128));
    part->events()->append(FRef<MEvent>(note));
  }
  part->events()->sortAfterAppend();
  return part;
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void BM_QuantizeAndUndoPart(benchmark::State& state) {
  initializeMidi();
  const int64_t count = state.range(0);
  const MGridQuantize grid(4, MGridQuantize::kStraight);
  const MFixedBarSource bars(1920);
  double build = 0, perform = 0, undo = 0, redo = 0;
  size_t moved = 0;
  for (auto _ : state) {
    state.PauseTiming();
    FRef<MMidiPart> part = makePart(count);
    state.ResumeTiming();
    auto t = std::chrono::steady_clock::now();
    FRef<MCommand> command =
        makeQuantizeCommand(MQuantizeFunction::kQuantize, {{part.get(), 0.0}}, grid, bars, {}, &moved);
    build += secondsSince(t);
    t = std::chrono::steady_clock::now();
    if (!command || !command->perform()) state.SkipWithError("quantize failed");
    perform += secondsSince(t);
    t = std::chrono::steady_clock::now();
    if (!command->undo()) state.SkipWithError("undo failed");
    undo += secondsSince(t);
    t = std::chrono::steady_clock::now();
    if (!command->redo()) state.SkipWithError("redo failed");
    redo += secondsSince(t);
    state.PauseTiming();
    command = nullptr;
    part = nullptr;
    state.ResumeTiming();
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["build_ms"] = build / n * 1e3;
  state.counters["perform_ms"] = perform / n * 1e3;
  state.counters["undo_ms"] = undo / n * 1e3;
  state.counters["redo_ms"] = redo / n * 1e3;
  state.counters["moved"] = static_cast<double>(moved);
}
BENCHMARK(BM_QuantizeAndUndoPart)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);

// The peer: the quantized starts written straight into the notes, then one
// sort; no action, nothing to undo.
void BM_QuantizeInPlacePeer(benchmark::State& state) {
  initializeMidi();
  const int64_t count = state.range(0);
  const MGridQuantize grid(4, MGridQuantize::kStraight);
  const MFixedBarSource bars(1920);
  for (auto _ : state) {
    state.PauseTiming();
    FRef<MMidiPart> part = makePart(count);
    state.ResumeTiming();
    for (const auto& event : *part->events()) {
      event->setStart(grid.quantize(event->getStart(), bars, MQuantizeMode::kNearest));
    }
    part->events()->sortAfterAppend();
    state.PauseTiming();
    part = nullptr;
    state.ResumeTiming();
  }
}
BENCHMARK(BM_QuantizeInPlacePeer)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace vantor

BENCHMARK_MAIN();

// The undo framework at scale: one macro of 100,000 size commands (one per
// event of a part) performed, undone and redone through the undo manager,
// and the memory the undo list then holds per changed event. The peer is the
// same change written straight into the events, without commands: what the
// command framework costs on top of the edit itself.

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

#include "foundation/FClock.h"
#include "model/MModelInit.h"
#include "model/edit/MSizeCommand.h"
#include "model/tree/MArrayNode.h"
#include "model/undo/GUndoManager.h"
#include "model/undo/MCommand.h"

namespace vantor {
namespace {

class BenchEvent : public MEvent {
  VANTOR_EVENT(BenchEvent)
};
VANTOR_DEFINE_CLASS(BenchEvent, MEvent, 0)

// A part of count events, one every 120 pulses, each 60 long.
FRef<MListNode> makeNode(int64_t count) {
  FRef<MListNode> node = makeRef<MListNode>();
  for (int64_t i = 0; i < count; ++i) {
    FRef<MEvent> event(new BenchEvent);
    event->setStart(120.0 * static_cast<double>(i));
    event->setLength(60);
    node->list().append(std::move(event));
  }
  node->list().sortAfterAppend();
  return node;
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Size commands that double every event's length (its start stays, so the
// events keep their places).
void BM_UndoMacroOfSizeCommands(benchmark::State& state) {
  initializeModel();
  const int64_t count = state.range(0);
  GUndoManager::setLimit(GUndoManager::kUnlimited);
  FManualClock clock;
  double build = 0, perform = 0, undo = 0, redo = 0;
  double bytesPerEvent = 0;
  for (auto _ : state) {
    state.PauseTiming();
    FRef<MListNode> node = makeNode(count);
    GUndoManager manager(clock);
    state.ResumeTiming();

    auto t = std::chrono::steady_clock::now();
    FRef<MMacroCommand> macro = makeRef<MMacroCommand>("Size");
    FRef<MDataNode> holder(node);
    for (const auto& event : node->list()) {
      if (!macro->add(FRef<MCommand>(new MSizeEndCommand(event, holder, event->getStart() + 120)))) {
        state.SkipWithError("add failed");
      }
    }
    build += secondsSince(t);
    t = std::chrono::steady_clock::now();
    if (!manager.perform(macro)) state.SkipWithError("perform failed");
    perform += secondsSince(t);
    bytesPerEvent = static_cast<double>(manager.heldBytes()) / static_cast<double>(count);
    t = std::chrono::steady_clock::now();
    if (!manager.undo()) state.SkipWithError("undo failed");
    undo += secondsSince(t);
    t = std::chrono::steady_clock::now();
    if (!manager.redo()) state.SkipWithError("redo failed");
    redo += secondsSince(t);

    state.PauseTiming();
    macro = nullptr;
    manager.clear();
    node = nullptr;
    state.ResumeTiming();
  }
  const double runs = static_cast<double>(state.iterations());
  state.counters["build_ms"] = 1e3 * build / runs;
  state.counters["perform_ms"] = 1e3 * perform / runs;
  state.counters["undo_ms"] = 1e3 * undo / runs;
  state.counters["redo_ms"] = 1e3 * redo / runs;
  // What the undo list holds per changed event: the command object with its
  // values, and its entry in the macro's list.
  state.counters["undo_bytes_per_event"] = bytesPerEvent;
  state.SetItemsProcessed(state.iterations() * count * 3);
}
BENCHMARK(BM_UndoMacroOfSizeCommands)->Arg(100000)->Unit(benchmark::kMillisecond);

// The peer: the same length change written into the events and back and
// forth again, with the node told of each change as the commands do.
void BM_DirectSizeChanges(benchmark::State& state) {
  initializeModel();
  const int64_t count = state.range(0);
  for (auto _ : state) {
    state.PauseTiming();
    FRef<MListNode> node = makeNode(count);
    std::vector<double> old(static_cast<size_t>(count));
    state.ResumeTiming();
    for (int pass = 0; pass < 3; ++pass) {
      size_t i = 0;
      for (const auto& event : node->list()) {
        node->extentWillChange(event.get());
        const double length = event->getLength();
        event->setLength(pass == 1 ? old[i] : 120);
        old[i++] = length;
        node->extentChanged(event.get());
      }
    }
    benchmark::DoNotOptimize(node->list().at(0)->getLength());
    state.PauseTiming();
    node = nullptr;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * count * 3);
}
BENCHMARK(BM_DirectSizeChanges)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantor

BENCHMARK_MAIN();

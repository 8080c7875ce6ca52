// "Export Midi File" at scale: a project holding what the benchmark MIDI
// file holds (SmfBenchFile.h: a tempo track of 4000 tempo changes and 40
// signatures, 15 MIDI tracks of 66667 notes with controllers and system
// exclusive messages; about two million events once written), built through
// the model. Besides the benchmarks, which export it from memory:
//   bench_smf_export --build PATH   saves the project, for
//                                   bench/export_midi.sh to time
//                                   `vantor export-midi` on it

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "SmfBenchFile.h"
#include "document/PDocument.h"
#include "document/PDocumentInit.h"
#include "document/PPreferences.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FUserMessages.h"
#include "midi/events/MMidiEvent.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiSysex.h"
#include "midi/smf/MSmfExporter.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"

namespace vantor {
namespace {

using namespace bench;

void fillTempoTrack(MProject& project) {
  FRef<MAccessor> tempos = project.getTempoNode()->getWriteAccessor();
  FRef<MAccessor> signatures = project.getSignatureNode()->getWriteAccessor();
  for (int i = 0; i < kSmfBenchTempos; ++i) {
    const double bpm = 60e6 / (400000.0 + (i % 200) * 1000.0);
    if (i == 0) {
      project.getTempoNode()->tempoEvent(0)->setBPM(bpm);
    } else {
      (void)tempos->insert(makeRef<MTempoEvent>(i * 480.0, bpm));
    }
    if (i % 100 != 0) continue;
    const auto numerator = static_cast<uint16_t>(3 + i / 100 % 5);
    if (i == 0) {
      project.getSignatureNode()->signature(0)->setSignature(numerator, 4);
    } else {
      (void)signatures->insert(makeRef<MTimeSignatureEvent>(i * 480, numerator, 4));
    }
  }
  project.getTempoNode()->tempoChanged();
}

// One part per track, its events appended in order and sorted once.
void fillMidiTrack(MProject& project, int t) {
  FRef<MTrackEvent> track = MProject::createTrack("MIDI", "Track " + std::to_string(t));
  FRef<MPartEvent> part = track->createPart();
  part->setLength(kSmfBenchNotesPerTrack * 120.0 + 240);
  auto& list = static_cast<MPartNode*>(part->getNode())->list();
  const auto channel = static_cast<uint8_t>(t % 16);
  for (int n = 0; n < kSmfBenchNotesPerTrack; ++n) {
    const double tick = n * 120.0;
    FRef<MMidiNote> note = makeRef<MMidiNote>();
    note->setStart(tick);
    note->setLength(100);
    note->setChannel(channel);
    note->setData1(static_cast<uint8_t>(36 + (n * 7 + t) % 60));
    note->setData2(static_cast<uint8_t>(40 + n % 80));
    list.append(FRef<MEvent>(note));
    if (n % 64 == 63) {
      FRef<MMidiController> volume = makeRef<MMidiController>();
      volume->setStart(tick + 100);
      volume->setChannel(channel);
      volume->setData1(7);
      volume->setData2(static_cast<uint8_t>(n % 128));
      list.append(FRef<MEvent>(volume));
    }
    if (n % 2000 == 1999) {
      FRef<MMidiSysex> sysex = makeRef<MMidiSysex>();
      sysex->setStart(tick + 100);
      sysex->setBytes({0xF0, 0x41, 0x10, 0x42, 0x12, 0x40, 0x00, 0x7F, 0x00, 0x41, 0xF7});
      list.append(FRef<MEvent>(sysex));
    }
  }
  list.sortAfterAppend();
  (void)project.addTrack(track);
  (void)project.addPart(track.get(), part);
}

void fill(MProject& project) {
  fillTempoTrack(project);
  for (int t = 1; t < kSmfBenchTracks; ++t) fillMidiTrack(project, t);
}

struct Fixture {
  FCapturedMessages messages;
  PPreferences preferences;
};

void BM_ExportMidiFromMemory(benchmark::State& state) {
  initializeDocument();
  Fixture f;
  PDocument document(f.messages, f.preferences);
  fill(*document.project());
  MSmfExportSummary summary;
  for (auto _ : state) {
    FMemoryStream stream;
    MSmfExporter exporter(*document.project(), {static_cast<int>(state.range(0)), false});
    std::string error;
    if (!exporter.write(stream, &error)) state.SkipWithError("export failed");
    summary = exporter.summary();
    benchmark::DoNotOptimize(stream.data().data());
  }
  state.counters["events"] = static_cast<double>(summary.events);
  state.SetItemsProcessed(state.iterations() * summary.events);
}
BENCHMARK(BM_ExportMidiFromMemory)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

int buildMode(const char* path) {
  initializeDocument();
  Fixture f;
  PDocument document(f.messages, f.preferences);
  fill(*document.project());
  if (document.save(path)) return 0;
  std::fprintf(stderr, "bench_smf_export: cannot save %s\n", path);
  return 1;
}

}  // namespace
}  // namespace vantor

int main(int argc, char** argv) {
  if (argc >= 3 && std::strcmp(argv[1], "--build") == 0) return vantor::buildMode(argv[2]);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

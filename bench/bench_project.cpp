// Saving and opening a project of 1,000 tracks holding a million events in
// total, with the peak memory of the process; the peer writes and reads the
// same events as CBOR through nlohmann::json. Opening runs first and, when
// the file is missing, has a child process build it, so that its peak is
// the opening's own; "peak / file" relates it to the file's size.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "document/PDocument.h"
#include "document/PDocumentInit.h"
#include "document/PPreferences.h"
#include "foundation/FUserMessages.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"

namespace vantor {
namespace {

constexpr int kTracks = 1000;
constexpr int kEventsPerTrack = 1000;

const std::string& projectPath() {
  static const std::string path = (std::filesystem::temp_directory_path() / "vantor-bench-project.vpr").string();
  return path;
}

double peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// One part per track; inside it 1,000 short events, appended and sorted once.
void fill(MProject& project) {
  for (int t = 0; t < kTracks; ++t) {
    FRef<MTrackEvent> track = MProject::createTrack("MIDI", "Track " + std::to_string(t));
    FRef<MPartEvent> part = makeRef<MPartEvent>();
    part->setName("Part");
    part->setLength(kEventsPerTrack * 120.0);
    auto* content = part->getNode()->events();
    for (int e = 0; e < kEventsPerTrack; ++e) {
      FRef<MPartEvent> event = makeRef<MPartEvent>();
      event->setStart(e * 120.0);
      event->setLength(60.0);
      content->append(FRef<MEvent>(std::move(event)));
    }
    content->sortAfterAppend();
    (void)project.addTrack(track);
    (void)project.addPart(track.get(), part);
  }
}

struct Fixture {
  FCapturedMessages messages;
  PPreferences preferences;
};

void ProjectSave(benchmark::State& state) {
  initializeDocument();
  Fixture f;
  PDocument document(f.messages, f.preferences);
  fill(*document.project());
  for (auto _ : state) {
    if (!document.save(projectPath())) state.SkipWithError("save failed");
  }
  state.counters["events/s"] = benchmark::Counter(static_cast<double>(kTracks) * kEventsPerTrack * state.iterations(),
                                                  benchmark::Counter::kIsRate);
  state.counters["file MB"] = static_cast<double>(std::filesystem::file_size(projectPath())) / 1e6;
  state.counters["peak MB"] = peakMegabytes();
}

void ProjectOpen(benchmark::State& state) {
  initializeDocument();
  Fixture f;
  if (!std::filesystem::exists(projectPath())) {
    const pid_t child = fork();
    if (child == 0) {
      PDocument document(f.messages, f.preferences);
      fill(*document.project());
      _exit(document.save(projectPath()) ? 0 : 1);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0) state.SkipWithError("save failed");
  }
  for (auto _ : state) {
    PDocument document(f.messages, f.preferences);
    if (!document.open(projectPath())) state.SkipWithError("open failed");
    benchmark::DoNotOptimize(document.project());
  }
  state.counters["events/s"] = benchmark::Counter(static_cast<double>(kTracks) * kEventsPerTrack * state.iterations(),
                                                  benchmark::Counter::kIsRate);
  const double fileMegabytes = static_cast<double>(std::filesystem::file_size(projectPath())) / (1024.0 * 1024.0);
  state.counters["peak MB"] = peakMegabytes();
  state.counters["peak / file"] = peakMegabytes() / fileMegabytes;
}

nlohmann::json peerProject() {
  nlohmann::json tracks = nlohmann::json::array();
  for (int t = 0; t < kTracks; ++t) {
    nlohmann::json events = nlohmann::json::array();
    for (int e = 0; e < kEventsPerTrack; ++e) events.push_back({0, e * 120.0, 60.0, 0.0, e});
    tracks.push_back({{"name", "Track " + std::to_string(t)}, {"events", std::move(events)}});
  }
  return tracks;
}

void PeerCborSaveAndOpen(benchmark::State& state) {
  const nlohmann::json project = peerProject();
  const std::string path = projectPath() + ".cbor";
  for (auto _ : state) {
    const std::vector<uint8_t> bytes = nlohmann::json::to_cbor(project);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    std::ifstream in(path, std::ios::binary);
    const std::vector<uint8_t> back((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    benchmark::DoNotOptimize(nlohmann::json::from_cbor(back).size());
  }
  std::filesystem::remove(path);
  state.counters["events/s"] = benchmark::Counter(static_cast<double>(kTracks) * kEventsPerTrack * state.iterations(),
                                                  benchmark::Counter::kIsRate);
}

BENCHMARK(ProjectOpen)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(ProjectSave)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(PeerCborSaveAndOpen)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace vantor

BENCHMARK_MAIN();

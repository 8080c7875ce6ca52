// Writing one minute of stereo 48 kHz as a 24-bit and as a 32-bit float
// WAVE file from interleaved floats, 4096 frames at a time: our writer
// (temporary file, synced and renamed at the end) against libsndfile in
// the same run. The files go to /tmp; the sync at close is part of ours.

#include <benchmark/benchmark.h>
#include <sndfile.h>
#include <unistd.h>

#include <cmath>
#include <string>
#include <vector>

#include "audio/files/AudioFileWriter.h"

namespace {

using namespace vantor;

constexpr int kChannels = 2;
constexpr int64_t kFrames = 48000 * 60;
constexpr int64_t kBlockFrames = 4096;

const std::vector<float>& signal() {
  static const std::vector<float> block = [] {
    std::vector<float> samples(kBlockFrames * kChannels);
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = 0.8f * std::sin(0.001f * static_cast<float>(i));
    return samples;
  }();
  return block;
}

std::string target() { return "/tmp/vantor-bench-write-" + std::to_string(::getpid()) + ".wav"; }

void writeWithVantor(benchmark::State& state) {
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = 48000;
  file.format.channels = kChannels;
  file.format.bitsPerSample = static_cast<int16_t>(state.range(0));
  file.format.sampleType = state.range(0) == 32 ? SampleType::kFloat : SampleType::kInteger;
  for (auto _ : state) {
    AudioFileWriter writer;
    bool ok = writer.open(target(), file);
    for (int64_t done = 0; ok && done < kFrames; done += kBlockFrames)
      ok = writer.writeFrames(signal().data(), kBlockFrames);
    if (!ok || !writer.close()) state.SkipWithError("write failed");
  }
  state.SetBytesProcessed(state.iterations() * kFrames * kChannels * (state.range(0) / 8));
  ::unlink(target().c_str());
}
BENCHMARK(writeWithVantor)->Arg(24)->Arg(32)->UseRealTime()->Unit(benchmark::kMillisecond);

void writeWithLibsndfile(benchmark::State& state) {
  SF_INFO info{};
  info.samplerate = 48000;
  info.channels = kChannels;
  info.format = SF_FORMAT_WAV | (state.range(0) == 32 ? SF_FORMAT_FLOAT : SF_FORMAT_PCM_24);
  for (auto _ : state) {
    SNDFILE* sf = sf_open(target().c_str(), SFM_WRITE, &info);
    if (sf == nullptr) state.SkipWithError("open failed");
    sf_count_t written = 0;
    for (int64_t done = 0; done < kFrames; done += kBlockFrames)
      written += sf_writef_float(sf, signal().data(), kBlockFrames);
    sf_close(sf);
    if (written < kFrames) state.SkipWithError("write failed");
  }
  state.SetBytesProcessed(state.iterations() * kFrames * kChannels * (state.range(0) / 8));
  ::unlink(target().c_str());
}
BENCHMARK(writeWithLibsndfile)->Arg(24)->Arg(32)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

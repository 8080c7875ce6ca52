#pragma once
// Helpers for the process tests: a process made by class name with
// parameters set from text, and a run over samples held in memory.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "audio/AudioInit.h"
#include "audio/process/PAudioProcess.h"
#include "audio/process/PWorkRunner.h"

namespace vantor::test {

inline FRef<PAudioProcess> makeProcess(const char* className,
                                       std::vector<std::pair<std::string, std::string>> parameters = {}) {
  initializeAudio();
  FRef<PAudioProcess> process = PAudioProcess::create(className);
  EXPECT_TRUE(process) << className;
  if (!process) return process;
  for (const auto& [key, value] : parameters) {
    std::string error;
    EXPECT_TRUE(process->setParameter(key, value, &error)) << key << ": " << error;
  }
  return process;
}

inline AudioFormat floatFormat(int channels, float rate) {
  AudioFormat format;
  format.channels = static_cast<int16_t>(channels);
  format.sampleRate = rate;
  format.bitsPerSample = 32;
  format.sampleType = SampleType::kFloat;
  return format;
}

// The process's result over samples, run in blocks of the given sizes.
inline std::vector<float> runProcess(const PAudioProcess& process, const AudioFormat& format,
                                     const std::vector<float>& samples, std::vector<int64_t> blocks = {8192}) {
  std::unique_ptr<PAudioWork> work = process.createWork();
  std::string error;
  PRunOptions options;
  options.blockFrames = std::move(blocks);
  std::vector<float> out = runWorkOnBuffer(*work, format, samples, &error, options);
  EXPECT_EQ(error, "");
  return out;
}

inline std::vector<float> randomSamples(size_t count, unsigned seed, float amplitude = 0.5f) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> value(-amplitude, amplitude);
  std::vector<float> out(count);
  for (float& sample : out) sample = value(random);
  return out;
}

}  // namespace vantor::test

namespace vantor::test {

// A frame source over a vector kept alive beside it.
struct PBufferSourceFor {
  PBufferSourceFor(const std::vector<float>& samples, int channels)
      : source(samples.data(), static_cast<int64_t>(samples.size()) / channels, channels) {}
  PBufferSource source;
};

}  // namespace vantor::test

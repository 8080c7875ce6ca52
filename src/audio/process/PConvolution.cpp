#include "audio/process/PConvolution.h"

#include <cmath>
#include <cstdio>
#include <numbers>

#include "audio/files/AudioFileReader.h"
#include "audio/process/PConvolutionWork.h"
#include "audio/process/PProcessMath.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PConvolution, PAProcessWithNormalize, 0)

namespace {

constexpr const char* kNoImpulseMessage = "No impulse file loaded!";
constexpr const char* kEmptyImpulseMessage = "The impulse file holds no audio!";

// The whole impulse file, interleaved; its length is bounded by the limit.
bool readImpulseFile(const std::string& path, std::vector<float>* samples, AudioFile* file, std::string* error) {
  AudioFileReader reader;
  if (path.empty()) return (*error = kNoImpulseMessage, false);
  if (!reader.open(path)) return (*error = "\"" + path + "\": " + reader.error(), false);
  *file = reader.file();
  const double seconds = static_cast<double>(file->lengthFrames) / file->format.sampleRate;
  if (seconds > PConvolution::kMaximumImpulseSeconds) return (*error = PConvolution::maximumImpulseText(), false);
  if (file->lengthFrames == 0) return (*error = kEmptyImpulseMessage, false);
  samples->resize(static_cast<size_t>(file->lengthFrames * file->format.channels));
  int64_t done = 0;
  while (done < file->lengthFrames) {
    const int64_t got = reader.readFrames(samples->data() + done * file->format.channels, file->lengthFrames - done);
    if (got <= 0) return (*error = "Error: Can not read file!", false);
    done += got;
  }
  return true;
}

std::vector<std::vector<float>> splitChannels(const std::vector<float>& samples, int channels, bool perChannel) {
  const size_t frames = samples.size() / static_cast<size_t>(channels);
  std::vector<std::vector<float>> out(perChannel ? static_cast<size_t>(channels) : 1, std::vector<float>(frames));
  for (size_t f = 0; f < frames; ++f) {
    for (int c = 0; c < channels; ++c) {
      const float value = samples[f * static_cast<size_t>(channels) + static_cast<size_t>(c)];
      if (perChannel) {
        out[static_cast<size_t>(c)][f] = value;
      } else {
        out[0][f] += value / static_cast<float>(channels);
      }
    }
  }
  return out;
}

// Linear interpolation to ratio times the length, at most limit frames (at
// least 1); ratio 1 copies exactly.
std::vector<float> resample(const std::vector<float>& in, double ratio, int64_t limit) {
  if (ratio == 1.0 && static_cast<int64_t>(in.size()) <= limit) return in;
  const double wanted = std::min(static_cast<double>(in.size()) * ratio, static_cast<double>(limit));
  const auto length = std::max<size_t>(1, static_cast<size_t>(std::llround(wanted)));
  std::vector<float> out(length);
  for (size_t i = 0; i < length; ++i) {
    const double at = static_cast<double>(i) / ratio;
    const auto left = static_cast<size_t>(at);
    if (left + 1 >= in.size()) {
      out[i] = left < in.size() ? in[left] : 0.0f;
      continue;
    }
    const double t = at - static_cast<double>(left);
    out[i] = static_cast<float>(in[left] * (1.0 - t) + in[left + 1] * t);
  }
  return out;
}

// y += a·(x − y) with a = 1 − e^(−2π·f/rate).
void lowPass(std::vector<float>& samples, double hz, double rate) {
  const double a = 1.0 - std::exp(-2.0 * std::numbers::pi * hz / rate);
  double y = 0;
  for (float& sample : samples) {
    y += a * (sample - y);
    sample = static_cast<float>(y);
  }
}

void highPass(std::vector<float>& samples, double hz, double rate) {
  std::vector<float> low = samples;
  lowPass(low, hz, rate);
  for (size_t i = 0; i < samples.size(); ++i) samples[i] -= low[i];
}

void shape(std::vector<float>& impulse, const PImpulseSettings& settings, double rate) {
  const int64_t split = millisecondsToFramesRounded(settings.splitMs, rate);
  const auto early = static_cast<float>(decibelsToGain(settings.firstReflectionDb));
  for (size_t i = 0; i < impulse.size() && static_cast<int64_t>(i) < split; ++i) impulse[i] *= early;
  if (settings.lowPassHz > 0) lowPass(impulse, settings.lowPassHz, rate);
  if (settings.highPassHz > 0) highPass(impulse, settings.highPassHz, rate);
  if (settings.bandPassHz > 0) {
    highPass(impulse, settings.bandPassHz / std::numbers::sqrt2, rate);
    lowPass(impulse, settings.bandPassHz * std::numbers::sqrt2, rate);
  }
  const auto gain = static_cast<float>(decibelsToGain(settings.gainDb));
  for (float& sample : impulse) sample *= gain;
}

}  // namespace

std::string PConvolution::maximumImpulseText() {
  char text[96];
  std::snprintf(text, sizeof text, kMaximumImpulseFormat, kMaximumImpulseSeconds);
  return text;
}

bool loadImpulse(const PImpulseSettings& settings, double sampleRate, int64_t maxFrames,
                 std::vector<std::vector<float>>* impulse, std::string* error) {
  std::vector<float> samples;
  AudioFile file;
  if (!readImpulseFile(settings.path, &samples, &file, error)) return false;
  const double ratio = settings.timeStretch * sampleRate / file.format.sampleRate;
  *impulse = splitChannels(samples, file.format.channels, settings.perChannel);
  for (std::vector<float>& channel : *impulse) {
    channel = resample(channel, ratio, std::max<int64_t>(1, maxFrames));
    shape(channel, settings, sampleRate);
  }
  return true;
}

std::vector<PParameterSpec> PConvolution::processSpecs() const {
  using Kind = PParameterSpec::Kind;
  return {{"Impulse Path", Kind::kText, 0, 0, 0, ""},
          {"Impulse Channel Mode", Kind::kChoice, 0, 1, 0, "Mix|Per Channel"},
          {"First Reflection", Kind::kNumber, -60, 12, 0, "", "dB"},
          {"Split", Kind::kNumber, 0, 1000, 80, "", "ms"},
          {"Gain", Kind::kNumber, -60, 24, 0, "", "dB"},
          {"LPF Value", Kind::kNumber, 0, 24000, 0, "", "Hz"},
          {"HPF Value", Kind::kNumber, 0, 24000, 0, "", "Hz"},
          {"BPF Value", Kind::kNumber, 0, 24000, 0, "", "Hz"},
          {"Time Strech", Kind::kNumber, 0.5, 2, 1},
          {"Zoom Y", Kind::kNumber, 1, 16, 1}};
}

std::unique_ptr<PAudioWork> PConvolution::createProcessWork() const {
  PImpulseSettings settings;
  settings.path = text("Impulse Path");
  settings.perChannel = number("Impulse Channel Mode") >= 1;
  settings.firstReflectionDb = number("First Reflection");
  settings.splitMs = number("Split");
  settings.gainDb = number("Gain");
  settings.lowPassHz = number("LPF Value");
  settings.highPassHz = number("HPF Value");
  settings.bandPassHz = number("BPF Value");
  settings.timeStretch = number("Time Strech");
  return std::make_unique<PConvolutionWork>(settings);
}

}  // namespace vantor

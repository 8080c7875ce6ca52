#include "render/RMetronome.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vantor {

namespace {

// The click: a sine burst with a 0.5 ms rising edge and an exponential
// decay (time constant 4 ms), cut off at 20 ms by a 2 ms fade so that it
// ends at zero. The accent is a fifth higher and about 4 dB louder.
constexpr double kClickSeconds = 0.020;
constexpr double kRiseSeconds = 0.0005;
constexpr double kDecaySeconds = 0.004;
constexpr double kEndFadeSeconds = 0.002;
constexpr double kPlainHz = 1000.0;
constexpr double kAccentHz = 1500.0;
constexpr double kPlainLevel = 0.3;
constexpr double kAccentLevel = 0.5;
// A click cut short by the next one fades out over 1 ms instead of
// stopping dead.
constexpr double kCutFadeSeconds = 0.001;

std::vector<float> makeClick(int sampleRate, double hz, double level) {
  const auto length = static_cast<size_t>(std::max(1.0, std::round(kClickSeconds * sampleRate)));
  const double rise = std::max(1.0, kRiseSeconds * sampleRate);
  const double endFade = std::max(1.0, kEndFadeSeconds * sampleRate);
  std::vector<float> click(length);
  for (size_t n = 0; n < length; ++n) {
    const double t = static_cast<double>(n) / sampleRate;
    // The rise starts at 1 / rise rather than 0 and the sine at its crest,
    // so the very first sample of a click is already heard.
    const double edge = std::min(1.0, (static_cast<double>(n) + 1.0) / rise);
    const double tail = std::min(1.0, static_cast<double>(length - n) / endFade);
    const double envelope = edge * std::exp(-t / kDecaySeconds) * tail;
    click[n] = static_cast<float>(level * envelope * std::cos(2.0 * std::numbers::pi * hz * t));
  }
  return click;
}

}  // namespace

// Two voices: the sounding click and one that fades out after being cut
// short. Both read the precomputed sounds, so rendering only copies.
struct RMetronome::State {
  struct Voice {
    const std::vector<float>* sound = nullptr;
    size_t at = 0;
    int fadeLeft = 0;  // > 0: fading out over this many more frames
  };
  std::vector<float> plain;
  std::vector<float> accent;
  int cutFade = 1;
  Voice current;
  Voice fading;
};

RMetronome::RMetronome(int sampleRate) : state_(std::make_unique<State>()) {
  const int rate = std::max(1, sampleRate);
  state_->plain = makeClick(rate, kPlainHz, kPlainLevel);
  state_->accent = makeClick(rate, kAccentHz, kAccentLevel);
  state_->cutFade = std::max(1, static_cast<int>(std::lround(kCutFadeSeconds * rate)));
}

RMetronome::~RMetronome() = default;

void RMetronome::trigger(bool accent) noexcept {
  State& s = *state_;
  if (s.current.sound && s.current.at < s.current.sound->size()) {
    s.fading = s.current;
    s.fading.fadeLeft = s.cutFade;
  }
  s.current = {accent ? &s.accent : &s.plain, 0, 0};
}

void RMetronome::render(float* left, float* right, int frames) noexcept {
  State& s = *state_;
  if (s.fading.sound) {
    State::Voice& v = s.fading;
    const auto& sound = *v.sound;
    for (int i = 0; i < frames && v.fadeLeft > 0 && v.at < sound.size(); ++i, ++v.at, --v.fadeLeft) {
      const float x = sound[v.at] * static_cast<float>(v.fadeLeft) / static_cast<float>(s.cutFade);
      left[i] += x;
      right[i] += x;
    }
    if (v.fadeLeft <= 0 || v.at >= sound.size()) v = {};
  }
  if (s.current.sound) {
    State::Voice& v = s.current;
    const auto& sound = *v.sound;
    const size_t n = std::min(sound.size() - v.at, static_cast<size_t>(std::max(frames, 0)));
    for (size_t i = 0; i < n; ++i) {
      left[i] += sound[v.at + i];
      right[i] += sound[v.at + i];
    }
    v.at += n;
    if (v.at >= sound.size()) v = {};
  }
}

void RMetronome::reset() noexcept {
  state_->current = {};
  state_->fading = {};
}

}  // namespace vantor

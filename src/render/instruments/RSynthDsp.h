#pragma once
// The small signal-processing parts the built-in synthesizer is made of: a
// polynomial sine, band-limited saw and square steps, a state-variable
// filter, a noise generator and an ADSR envelope. Every part keeps its state
// per sample, so that a voice renders the same samples however its frames
// are split into blocks.

#include <cmath>
#include <cstdint>
#include <numbers>

namespace vantor::synth {

// sin(2 pi phase) for phase in [0, 1), within 1e-3 of the exact value: a
// parabola refined once (the usual cheap approximation, enough for audio).
inline float sine(float phase) {
  const float x = phase < 0.5f ? phase : phase - 1.0f;  // [-0.5, 0.5)
  const float y = 8.0f * x - 16.0f * x * (x < 0.0f ? -x : x);
  return 0.225f * (y * (y < 0.0f ? -y : y) - y) + y;
}

// The step correction that removes most of the aliasing of a saw or square
// at a jump (polynomial band-limited step; dt is the phase increment).
inline float blep(float phase, float dt) {
  if (phase < dt) {
    const float t = phase / dt;
    return t + t - t * t - 1.0f;
  }
  if (phase > 1.0f - dt) {
    const float t = (phase - 1.0f) / dt;
    return t * t + t + t + 1.0f;
  }
  return 0.0f;
}

inline float saw(float phase, float dt) { return 2.0f * phase - 1.0f - blep(phase, dt); }

inline float square(float phase, float dt, float width = 0.5f) {
  float shifted = phase + 1.0f - width;
  if (shifted >= 1.0f) shifted -= 1.0f;
  return (phase < width ? 1.0f : -1.0f) + blep(phase, dt) - blep(shifted, dt);
}

inline float triangle(float phase) {
  return phase < 0.5f ? 4.0f * phase - 1.0f : 3.0f - 4.0f * phase;
}

inline void advance(float& phase, float dt) {
  phase += dt;
  if (phase >= 1.0f) phase -= 1.0f;
}

// White noise in [-1, 1) from a 32-bit xorshift generator: deterministic
// from its seed, never zero.
class Noise {
 public:
  void seed(uint32_t value) { state_ = value == 0 ? 0x9e3779b9u : value; }
  float next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return static_cast<float>(static_cast<int32_t>(state_)) * (1.0f / 2147483648.0f);
  }

 private:
  uint32_t state_ = 0x9e3779b9u;
};

// A state-variable filter in the trapezoidal (zero-delay feedback) form:
// stable at any cutoff below Nyquist, and cheap to retune.
class Filter {
 public:
  struct Out {
    float low, band, high;
  };
  // cutoff in cycles per sample (limited to below 0.45), q >= 0.5.
  void tune(float cutoff, float q) {
    const float c = cutoff < 1e-5f ? 1e-5f : (cutoff > 0.45f ? 0.45f : cutoff);
    g_ = std::tan(std::numbers::pi_v<float> * c);
    k_ = 1.0f / q;
    a1_ = 1.0f / (1.0f + g_ * (g_ + k_));
    a2_ = g_ * a1_;
    a3_ = g_ * a2_;
  }
  Out process(float in) {
    const float v3 = in - ic2_;
    const float v1 = a1_ * ic1_ + a2_ * v3;
    const float v2 = ic2_ + a2_ * ic1_ + a3_ * v3;
    ic1_ = 2.0f * v1 - ic1_;
    ic2_ = 2.0f * v2 - ic2_;
    return {v2, v1, in - k_ * v1 - v2};
  }
  void clear() { ic1_ = ic2_ = 0.0f; }

 private:
  float g_ = 0, k_ = 1, a1_ = 1, a2_ = 0, a3_ = 0;
  float ic1_ = 0, ic2_ = 0;
};

// The per-sample multiplier that makes a level fall to 1/e in `seconds`.
inline float decayFactor(float seconds, float sampleRate) {
  return seconds <= 0.0f ? 0.0f : std::exp(-1.0f / (seconds * sampleRate));
}

// Attack (linear), decay (exponential towards the sustain level), sustain,
// release (exponential towards zero). Times in samples, set at note-on.
class Envelope {
 public:
  enum class Stage { kAttack, kDecay, kRelease, kDone };
  void start(float attackSamples, float decayFactor, float sustain, float releaseFactor) {
    stage_ = Stage::kAttack;
    level_ = 0.0f;
    attackStep_ = 1.0f / (attackSamples < 1.0f ? 1.0f : attackSamples);
    decay_ = decayFactor;
    sustain_ = sustain;
    release_ = releaseFactor;
  }
  void release() {
    if (stage_ != Stage::kDone) stage_ = Stage::kRelease;
  }
  // Overrides the release speed (a quick fade for stolen voices).
  void releaseWith(float factor) {
    release_ = factor;
    release();
  }
  float next() {
    switch (stage_) {
      case Stage::kAttack:
        level_ += attackStep_;
        if (level_ >= 1.0f) {
          level_ = 1.0f;
          stage_ = Stage::kDecay;
        }
        break;
      case Stage::kDecay:
        level_ = sustain_ + (level_ - sustain_) * decay_;
        if (sustain_ <= 0.0f && level_ < kSilent) stage_ = Stage::kDone;
        break;
      case Stage::kRelease:
        level_ *= release_;
        if (level_ < kSilent) stage_ = Stage::kDone;
        break;
      case Stage::kDone:
        level_ = 0.0f;
        break;
    }
    return level_;
  }
  Stage stage() const { return stage_; }
  bool done() const { return stage_ == Stage::kDone; }

 private:
  // About -70 dB below full level (-80 dBFS for a forte note): below this
  // a voice is over.
  static constexpr float kSilent = 3e-4f;
  Stage stage_ = Stage::kDone;
  float level_ = 0.0f;
  float attackStep_ = 1.0f;
  float decay_ = 0.0f;
  float sustain_ = 0.0f;
  float release_ = 0.0f;
};

}  // namespace vantor::synth

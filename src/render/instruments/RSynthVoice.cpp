#include "render/instruments/RSynthVoice.h"

#include <algorithm>
#include <cmath>

namespace vantor::synth {

namespace {

constexpr float kSilent = 3e-4f;  // about -70 dB, as the envelope's end
// The level follows controller changes with this time constant (no zipper
// noise, no click when the volume jumps).
constexpr float kSmoothingSeconds = 0.005f;
// A choked or faded voice falls by 1/e in this time (silent after ~15 ms).
constexpr float kFadeSeconds = 0.0015f;
// The lowest filter cutoff, Hz: below it a dark timbre would only lose level.
constexpr float kMinCutoffHz = 60.0f;
constexpr float kVibratoHz = 5.5f;
// 2^(s / 12) is about 1 + s * ln(2) / 12 for the few hundredths of a
// semitone vibrato moves.
constexpr float kSemitoneSlope = 0.057762f;
// The metallic partials of a cymbal, relative to the lowest: the ratios of
// six square oscillators in classic analogue drum machines.
constexpr float kMetalRatios[6] = {1.0f, 1.4827f, 1.8003f, 2.5460f, 2.6303f, 3.8967f};
// A stolen voice's last output fades with this time constant.
constexpr float kDeclickSeconds = 0.0003f;
constexpr float kClapBurstSeconds = 0.010f;
// The strike noise of a piano's hammer or a plucked string: a few ms.
constexpr float kStrikeSeconds = 0.004f;
constexpr float kClapBurstDecay = 0.003f;

float wrap(float phase) { return phase - std::floor(phase); }

}  // namespace

void RSynthVoice::startCommon(int channel, int note, int velocity, float sampleRate, uint32_t seed, uint64_t stamp,
                              const ChannelMix& mix, float pan) {
  residualLeft_ = active_ ? lastLeft_ : 0.0f;
  residualRight_ = active_ ? lastRight_ : 0.0f;
  lastLeft_ = lastRight_ = 0.0f;
  declick_ = decayFactor(kDeclickSeconds, sampleRate);
  active_ = true;
  sustained_ = false;
  channel_ = channel;
  note_ = note;
  stamp_ = stamp;
  age_ = 0;
  sampleRate_ = sampleRate;
  const float v = static_cast<float>(velocity) / 127.0f;
  velocityGain_ = v * v;
  brightness_ = 0.5f + 0.5f * v;
  // Equal power, unity at the centre.
  const float angle = 0.25f * std::numbers::pi_v<float> * (1.0f + std::fmax(-1.0f, std::fmin(1.0f, pan)));
  panLeft_ = std::numbers::sqrt2_v<float> * std::cos(angle);
  panRight_ = std::numbers::sqrt2_v<float> * std::sin(angle);
  gainLeft_ = mix.left * panLeft_;
  gainRight_ = mix.right * panRight_;
  smoothing_ = 1.0f - decayFactor(kSmoothingSeconds, sampleRate);
  noise_.seed(seed);
  filter_.clear();
  phase1_ = phase2_ = phaseFm_ = vibratoPhase_ = 0.0f;
  fade_ = fadeFactor_ = 1.0f;
}

void RSynthVoice::startNote(const Timbre& timbre, int channel, int note, int velocity, float sampleRate,
                            uint32_t seed, uint64_t stamp, const ChannelMix& mix) {
  startCommon(channel, note, velocity, sampleRate, seed, stamp, mix, 0.0f);
  timbre_ = &timbre;
  drum_ = nullptr;
  velocityGain_ *= timbre.gain;
  dt_ = 440.0f * std::exp2((static_cast<float>(note) - 69.0f) / 12.0f) / sampleRate;
  currentDt_ = dt_;
  const float keyScale = timbre.decayFollowsKey ? std::exp2(-(static_cast<float>(note) - 60.0f) / 24.0f) : 1.0f;
  envelope_.start(timbre.attack * sampleRate, decayFactor(timbre.decay * keyScale, sampleRate), timbre.sustain,
                  decayFactor(timbre.release, sampleRate));
  cutoffBoost_ = timbre.cutoffBoost;
  cutoffFactor_ = decayFactor(timbre.cutoffDecay, sampleRate);
  fmDepth_ = timbre.fmIndex * brightness_;
  fmFactor_ = decayFactor(timbre.fmDecay, sampleRate);
  strikeLevel_ = timbre.strike * brightness_;
  strikeFactor_ = decayFactor(kStrikeSeconds, sampleRate);
  vibratoStep_ = kVibratoHz / sampleRate;
  vibratoRamp_ = timbre.vibratoDelay > 0.0f ? 0.0f : 1.0f;
  vibratoRampStep_ = timbre.vibratoDelay > 0.0f ? 1.0f / (timbre.vibratoDelay * sampleRate) : 0.0f;
  retuneFilter();
}

void RSynthVoice::startDrum(const DrumSound& drum, int channel, int note, int velocity, float sampleRate,
                            uint32_t seed, uint64_t stamp, const ChannelMix& mix) {
  startCommon(channel, note, velocity, sampleRate, seed, stamp, mix, drum.pan);
  drum_ = &drum;
  timbre_ = nullptr;
  velocityGain_ *= drum.gain;
  toneHz_ = drum.toneHz;
  sweepLevel_ = 1.0f;
  sweepFactor_ = decayFactor(drum.sweep, sampleRate);
  toneLevel_ = drum.toneLevel;
  toneFactor_ = decayFactor(drum.toneDecay, sampleRate);
  noiseLevel_ = drum.noiseLevel > 0.0f || drum.metal > 0.0f ? 1.0f : 0.0f;
  noiseFactor_ = decayFactor(drum.noiseDecay, sampleRate);
  for (int i = 0; i < 6; ++i) {
    metalPhase_[i] = 0.0f;
    metalDt_[i] = drum.metalHz * kMetalRatios[i] / sampleRate;
  }
  burstLength_ = std::max(1, static_cast<int>(kClapBurstSeconds * sampleRate));
  filter_.tune(drum.filterHz / sampleRate, drum.filterQ);
}

void RSynthVoice::release() {
  if (timbre_) envelope_.release();
}

void RSynthVoice::fadeOut() {
  if (timbre_) {
    envelope_.releaseWith(decayFactor(kFadeSeconds, sampleRate_));
  } else {
    fadeFactor_ = decayFactor(kFadeSeconds, sampleRate_);
  }
}

bool RSynthVoice::releasing() const {
  return drum_ ? true : envelope_.stage() == Envelope::Stage::kRelease;
}

void RSynthVoice::retuneFilter() {
  const float multiple = (timbre_->cutoff + cutoffBoost_) * brightness_;
  const float cutoff = std::fmax(multiple * currentDt_, kMinCutoffHz / sampleRate_);
  filter_.tune(cutoff, timbre_->resonance);
}

float RSynthVoice::wave(Wave w, float& phase, float dt, float fmDepth) {
  float value = 0.0f;
  switch (w) {
    case Wave::kSine: value = sine(phase); break;
    case Wave::kTriangle: value = triangle(phase); break;
    case Wave::kSaw: value = saw(phase, dt); break;
    case Wave::kSquare: value = square(phase, dt); break;
    case Wave::kPulse: value = square(phase, dt, 0.3f); break;
    case Wave::kOrgan:
      value = 0.6f * sine(phase) + 0.3f * sine(wrap(2.0f * phase)) + 0.2f * sine(wrap(3.0f * phase)) +
              0.12f * sine(wrap(4.0f * phase));
      break;
    case Wave::kFm: value = sine(wrap(phase + fmDepth * sine(phaseFm_))); break;
  }
  advance(phase, dt);
  return value;
}

float RSynthVoice::melodicSample(const ChannelMix& mix) {
  const Timbre& t = *timbre_;
  const float depth = t.vibrato * vibratoRamp_ + 0.5f * mix.modulation;
  const float vibrato = depth > 0.0f ? 1.0f + kSemitoneSlope * depth * sine(vibratoPhase_) : 1.0f;
  currentDt_ = std::fmin(dt_ * mix.bend * vibrato, 0.45f);
  float x = wave(t.wave1, phase1_, currentDt_, fmDepth_);
  if (t.mix2 > 0.0f) x += t.mix2 * wave(t.wave2, phase2_, std::fmin(currentDt_ * t.ratio2, 0.45f), fmDepth_);
  if (t.noise > 0.0f) x += t.noise * noise_.next();
  if (strikeLevel_ > kSilent) {
    x += strikeLevel_ * noise_.next();
    strikeLevel_ *= strikeFactor_;
  }
  // Retuning costs a tangent: every 16 samples of the voice's own age is
  // often enough for envelopes of milliseconds and keeps block splits out.
  if ((age_ & 15u) == 0) retuneFilter();
  const float y = filter_.process(x).low;
  advance(phaseFm_, std::fmin(currentDt_ * t.fmRatio, 0.45f));
  advance(vibratoPhase_, vibratoStep_);
  vibratoRamp_ = std::fmin(1.0f, vibratoRamp_ + vibratoRampStep_);
  cutoffBoost_ *= cutoffFactor_;
  fmDepth_ *= fmFactor_;
  return y * envelope_.next();
}

float RSynthVoice::drumSample() {
  const DrumSound& d = *drum_;
  float out = 0.0f;
  if (toneLevel_ > 0.0f) {
    out += toneLevel_ * sine(phase1_);
    const float hz = d.toneEndHz + (d.toneHz - d.toneEndHz) * sweepLevel_;
    advance(phase1_, std::fmin(hz / sampleRate_, 0.45f));
    sweepLevel_ *= sweepFactor_;
    toneLevel_ *= toneFactor_;
  }
  float hiss = 0.0f;
  if (noiseLevel_ > 0.0f) {
    float source = d.noiseLevel * noise_.next();
    if (d.metal > 0.0f) {
      float metal = 0.0f;
      for (int i = 0; i < 6; ++i) {
        metal += square(metalPhase_[i], metalDt_[i]);
        advance(metalPhase_[i], metalDt_[i]);
      }
      source += d.metal * metal * (1.0f / 6.0f);
    }
    const DrumSound::Band band = d.band;
    const Filter::Out f = filter_.process(source);
    hiss = band == DrumSound::Band::kLow ? f.low : band == DrumSound::Band::kBand ? f.band : f.high;
    // A clap is a few quick bursts before its tail.
    const uint32_t tailStart = static_cast<uint32_t>((d.bursts - 1) * burstLength_);
    if (age_ < tailStart) {
      const uint32_t intoBurst = age_ % static_cast<uint32_t>(burstLength_);
      hiss *= std::exp(-static_cast<float>(intoBurst) / (kClapBurstDecay * sampleRate_));
    } else {
      hiss *= noiseLevel_;
      noiseLevel_ *= noiseFactor_;
      if (noiseLevel_ < kSilent) noiseLevel_ = 0.0f;
    }
  }
  if (toneLevel_ < kSilent) toneLevel_ = 0.0f;
  out = (out + hiss) * fade_;
  fade_ *= fadeFactor_;
  return out;
}

void RSynthVoice::render(float* left, float* right, int frames, const ChannelMix& mix) {
  if (!active_) return;
  const float targetLeft = mix.left * panLeft_;
  const float targetRight = mix.right * panRight_;
  for (int i = 0; i < frames; ++i) {
    const float s = (drum_ ? drumSample() : melodicSample(mix)) * velocityGain_;
    gainLeft_ += (targetLeft - gainLeft_) * smoothing_;
    gainRight_ += (targetRight - gainRight_) * smoothing_;
    lastLeft_ = s * gainLeft_ + residualLeft_;
    lastRight_ = s * gainRight_ + residualRight_;
    residualLeft_ *= declick_;
    residualRight_ *= declick_;
    left[i] += lastLeft_;
    right[i] += lastRight_;
    ++age_;
    const bool over = drum_ ? (toneLevel_ == 0.0f && noiseLevel_ == 0.0f) || fade_ < kSilent : envelope_.done();
    if (over) {
      active_ = false;
      return;
    }
  }
}

}  // namespace vantor::synth

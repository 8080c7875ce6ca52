#include "render/instruments/RBuiltinSynth.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vantor {

using synth::RSynthVoice;

namespace {

// MIDI controllers the synthesizer follows.
enum Controller {
  kModulation = 1,
  kDataEntry = 6,
  kVolume = 7,
  kPan = 10,
  kExpression = 11,
  kDataEntryFine = 38,
  kSustain = 64,
  kNrpnFine = 98,
  kNrpn = 99,
  kRpnFine = 100,
  kRpn = 101,
  kAllSoundOff = 120,
  kResetControllers = 121,
  kAllNotesOff = 123,
  kPoly = 127,  // 124..127 (omni and mono/poly modes) end every note too
};

constexpr int kNoParameter = 0x3fff;
constexpr int kBendRangeParameter = 0;

uint32_t noiseSeed(int channel, int note, uint32_t counter) {
  uint32_t h = static_cast<uint32_t>(note + 1) * 0x9e3779b1u;
  h ^= (counter + 1) * 0x85ebca6bu;
  h ^= static_cast<uint32_t>(channel) * 0xc2b2ae35u;
  return h ^ (h >> 16);
}

}  // namespace

RBuiltinSynth::RBuiltinSynth(int sampleRate) : sampleRate_(static_cast<float>(std::max(1, sampleRate))) {
  // The sound tables are built on first use: build them here, off the
  // audio thread.
  (void)synth::timbreForProgram(0);
  (void)synth::drumForNote(36);
  reset();
}

void RBuiltinSynth::midi(uint8_t status, uint8_t data1, uint8_t data2) noexcept {
  if (status < 0x80 || status >= 0xf0) return;
  const int channel = status & 0x0f;
  const int a = data1 & 0x7f;
  const int b = data2 & 0x7f;
  Channel& c = channels_[static_cast<size_t>(channel)];
  switch (status & 0xf0) {
    case 0x80: noteOff(channel, a); break;
    case 0x90: b == 0 ? noteOff(channel, a) : noteOn(channel, a, b); break;
    case 0xb0: controlChange(channel, a, b); break;
    case 0xc0: c.program = a; break;
    case 0xe0:
      c.bend = a | (b << 7);
      updateMix(c);
      break;
    default: break;  // key and channel pressure: not followed
  }
}

void RBuiltinSynth::noteOn(int channel, int note, int velocity) {
  Channel& c = channels_[static_cast<size_t>(channel)];
  const uint32_t seed = noiseSeed(channel, note, noteCounter_++);
  if (channel == kDrumChannel) {
    const synth::DrumSound* sound = synth::drumForNote(note);
    if (!sound) return;
    if (sound->chokesOpenHat) {
      for (RSynthVoice& v : voices_) {
        if (v.active() && v.channel() == channel && v.isOpenHat()) v.fadeOut();
      }
    }
    takeVoice().startDrum(*sound, channel, note, velocity, sampleRate_, seed, ++stamp_, c.mix);
    return;
  }
  // The same key struck again lets its previous note ring out in release.
  for (RSynthVoice& v : voices_) {
    if (v.active() && v.channel() == channel && v.note() == note && !v.releasing()) {
      v.setSustained(false);
      v.release();
    }
  }
  takeVoice().startNote(synth::timbreForProgram(c.program), channel, note, velocity, sampleRate_, seed, ++stamp_,
                        c.mix);
}

void RBuiltinSynth::noteOff(int channel, int note) {
  const bool pedal = channels_[static_cast<size_t>(channel)].sustain;
  for (RSynthVoice& v : voices_) {
    if (!v.active() || v.drum() || v.channel() != channel || v.note() != note || v.releasing()) continue;
    if (pedal) {
      v.setSustained(true);
    } else {
      v.release();
    }
  }
}

void RBuiltinSynth::controlChange(int channel, int controller, int value) {
  Channel& c = channels_[static_cast<size_t>(channel)];
  switch (controller) {
    case kModulation: c.modulation = value; break;
    case kVolume: c.volume = value; break;
    case kPan: c.pan = value; break;
    case kExpression: c.expression = value; break;
    case kRpn: c.rpn = (c.rpn & 0x7f) | (value << 7); break;
    case kRpnFine: c.rpn = (c.rpn & 0x3f80) | value; break;
    case kNrpn:
    case kNrpnFine: c.rpn = kNoParameter; break;
    case kDataEntry:
      if (c.rpn == kBendRangeParameter) c.bendRange = static_cast<float>(value);
      break;
    case kDataEntryFine:
      if (c.rpn == kBendRangeParameter) c.bendRange = std::floor(c.bendRange) + static_cast<float>(value) / 100.0f;
      break;
    case kSustain:
      c.sustain = value >= 64;
      if (!c.sustain) {
        for (RSynthVoice& v : voices_) {
          if (v.active() && v.channel() == channel && v.sustained()) {
            v.setSustained(false);
            v.release();
          }
        }
      }
      break;
    case kAllSoundOff:
      for (RSynthVoice& v : voices_) {
        if (v.channel() == channel) v.stop();
      }
      break;
    case kResetControllers: resetControllers(c); break;
    default:
      if (controller >= kAllNotesOff && controller <= kPoly) {
        for (RSynthVoice& v : voices_) {
          if (v.active() && v.channel() == channel) {
            v.setSustained(false);
            v.release();
          }
        }
      }
      break;
  }
  updateMix(c);
}

void RBuiltinSynth::resetControllers(Channel& c) {
  // Volume, pan and program stay, as General MIDI asks of this message.
  c.modulation = 0;
  c.expression = 127;
  c.bend = 8192;
  c.rpn = kNoParameter;
  if (c.sustain) {
    c.sustain = false;
    const int channel = static_cast<int>(&c - channels_.data());
    for (RSynthVoice& v : voices_) {
      if (v.active() && v.channel() == channel && v.sustained()) {
        v.setSustained(false);
        v.release();
      }
    }
  }
}

void RBuiltinSynth::updateMix(Channel& c) {
  // Volume and expression on the General MIDI curve (40 log10 of the value
  // / 127, in dB), the pan at equal power with unity at the centre.
  const float volume = static_cast<float>(c.volume) / 127.0f;
  const float expression = static_cast<float>(c.expression) / 127.0f;
  const float gain = volume * volume * expression * expression;
  const float pan = std::clamp(static_cast<float>(c.pan - 64) / 63.0f, -1.0f, 1.0f);
  const float angle = 0.25f * std::numbers::pi_v<float> * (1.0f + pan);
  c.mix.left = gain * std::numbers::sqrt2_v<float> * std::cos(angle);
  c.mix.right = gain * std::numbers::sqrt2_v<float> * std::sin(angle);
  c.mix.bend = std::exp2(static_cast<float>(c.bend - 8192) / 8192.0f * c.bendRange / 12.0f);
  c.mix.modulation = static_cast<float>(c.modulation) / 127.0f;
}

RSynthVoice& RBuiltinSynth::takeVoice() {
  RSynthVoice* oldest = nullptr;
  RSynthVoice* oldestReleasing = nullptr;
  for (RSynthVoice& v : voices_) {
    if (!v.active()) return v;
    if (!oldest || v.stamp() < oldest->stamp()) oldest = &v;
    if (v.releasing() && (!oldestReleasing || v.stamp() < oldestReleasing->stamp())) oldestReleasing = &v;
  }
  return oldestReleasing ? *oldestReleasing : *oldest;
}

void RBuiltinSynth::render(float* left, float* right, int frames) noexcept {
  if (frames <= 0) return;
  for (RSynthVoice& v : voices_) {
    if (v.active()) v.render(left, right, frames, channels_[static_cast<size_t>(v.channel())].mix);
  }
}

void RBuiltinSynth::reset() noexcept {
  for (RSynthVoice& v : voices_) v.stop();
  for (Channel& c : channels_) {
    c = Channel{};
    updateMix(c);
  }
  stamp_ = 0;
  noteCounter_ = 0;
}

int RBuiltinSynth::activeVoices() const noexcept {
  return static_cast<int>(std::count_if(voices_.begin(), voices_.end(), [](const RSynthVoice& v) { return v.active(); }));
}

}  // namespace vantor

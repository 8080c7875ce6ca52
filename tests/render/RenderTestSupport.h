#pragma once
// Helpers shared by the render tests: an instrument driven by timed
// messages and rendered in blocks, and simple measurements of the result.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

#include "render/RInstrument.h"

namespace vantor::rendertest {

struct Timed {
  int64_t frame = 0;
  uint8_t status = 0;
  uint8_t data1 = 0;
  uint8_t data2 = 0;
};

struct Stereo {
  std::vector<float> left;
  std::vector<float> right;
};

// Renders `frames` frames of `instrument`, handing each message over at its
// frame (messages in frame order). Blocks end at every message and at every
// frame of `cuts`.
inline Stereo renderTimed(RInstrument& instrument, const std::vector<Timed>& messages, int64_t frames,
                          std::vector<int64_t> cuts = {}) {
  for (const Timed& m : messages) cuts.push_back(m.frame);
  cuts.push_back(frames);
  std::sort(cuts.begin(), cuts.end());
  Stereo out{std::vector<float>(static_cast<size_t>(frames)), std::vector<float>(static_cast<size_t>(frames))};
  size_t next = 0;
  int64_t at = 0;
  for (int64_t cut : cuts) {
    cut = std::min(cut, frames);
    while (next < messages.size() && messages[next].frame <= at) {
      instrument.midi(messages[next].status, messages[next].data1, messages[next].data2);
      ++next;
    }
    if (cut > at) {
      instrument.render(out.left.data() + at, out.right.data() + at, static_cast<int>(cut - at));
      at = cut;
    }
  }
  return out;
}

// Random block ends over [0, frames): blocks of 1 to maxBlock frames.
inline std::vector<int64_t> randomCuts(std::mt19937& random, int64_t frames, int maxBlock) {
  std::vector<int64_t> cuts;
  std::uniform_int_distribution<int> block(1, maxBlock);
  for (int64_t at = block(random); at < frames; at += block(random)) cuts.push_back(at);
  return cuts;
}

// Random channel messages of every kind, in frame order: notes (three in ten on
// the drum channel), the controllers instruments follow, programs, bends
// and channel pressure.
inline std::vector<Timed> randomMessages(std::mt19937& random, int64_t frames, int count) {
  std::vector<Timed> messages;
  std::uniform_int_distribution<int64_t> at(0, frames - 1);
  std::uniform_int_distribution<int> byte(0, 127), kind(0, 9), channel(0, 3);
  for (int i = 0; i < count; ++i) {
    const int ch = kind(random) < 3 ? 9 : channel(random);
    const auto d1 = static_cast<uint8_t>(byte(random));
    const auto d2 = static_cast<uint8_t>(byte(random));
    static constexpr uint8_t kControllers[] = {1, 7, 10, 11, 64, 120, 121, 123};
    Timed m{at(random), 0, d1, d2};
    switch (kind(random)) {
      case 0: case 1: case 2: case 3: m.status = 0x90; m.data1 = static_cast<uint8_t>(30 + d1 % 60); break;
      case 4: case 5: m.status = 0x80; m.data1 = static_cast<uint8_t>(30 + d1 % 60); break;
      case 6: m.status = 0xb0; m.data1 = kControllers[d1 % 8]; break;
      case 7: m.status = 0xc0; break;
      case 8: m.status = 0xe0; break;
      default: m.status = 0xd0; break;
    }
    m.status = static_cast<uint8_t>(m.status | ch);
    messages.push_back(m);
  }
  std::stable_sort(messages.begin(), messages.end(), [](const Timed& a, const Timed& b) { return a.frame < b.frame; });
  return messages;
}

inline float peak(const std::vector<float>& samples, size_t from = 0, size_t to = SIZE_MAX) {
  float p = 0.0f;
  for (size_t i = from; i < std::min(to, samples.size()); ++i) p = std::max(p, std::fabs(samples[i]));
  return p;
}

inline double decibels(double level) { return 20.0 * std::log10(std::max(level, 1e-12)); }

// The magnitude of the frequency `hz` in samples[from, from + count), with a
// Hann window (one bin of a DFT, by the Goertzel recurrence).
inline double magnitudeAt(const std::vector<float>& samples, size_t from, size_t count, double hz, double rate) {
  const double w = 2.0 * std::numbers::pi * hz / rate;
  const double coefficient = 2.0 * std::cos(w);
  double s1 = 0.0, s2 = 0.0;
  for (size_t n = 0; n < count; ++n) {
    const double hann = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(n) / static_cast<double>(count));
    const double s0 = hann * samples[from + n] + coefficient * s1 - s2;
    s2 = s1;
    s1 = s0;
  }
  return std::sqrt(std::max(0.0, s1 * s1 + s2 * s2 - coefficient * s1 * s2)) / static_cast<double>(count);
}

// Sign changes per second in samples[from, from + count).
inline double crossingsPerSecond(const std::vector<float>& samples, size_t from, size_t count, double rate) {
  int crossings = 0;
  for (size_t i = from + 1; i < from + count; ++i) {
    if ((samples[i - 1] < 0.0f) != (samples[i] < 0.0f)) ++crossings;
  }
  return crossings * rate / static_cast<double>(count);
}

}  // namespace vantor::rendertest

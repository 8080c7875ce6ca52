#pragma once
// What a project sounds like, resolved to frames: the tracks' mixer
// channels, the audio segments, the MIDI messages and the metronome clicks,
// every position a frame of the plan's sample rate. A plan is built from the
// project under the root's read lock and is then read without any lock, by
// the offline render and by the real-time engine alike; it never changes
// once built (an edit builds a new one).

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "audio/pool/AudioCluster.h"
#include "audio/pool/PClipMaterial.h"
#include "foundation/FRef.h"
#include "model/tree/MAutoFadeSetting.h"
#include "render/RInstrument.h"

namespace vantor {

// A track's mixer channel. `gain` is linear (the volume in dB converted);
// `pan` runs from -1 (left) to 1 (right). A track is audible when it is not
// muted and either no track is soloed or it is soloed.
struct RTrackChannel {
  std::string name;
  bool isMidi = false;
  float gain = 1.0f;
  float pan = 0.0f;
  bool audible = true;
  RInstrumentChoice instrument;  // MIDI tracks only
};

// A fade at one edge of a segment, in frames of the plan.
struct RFade {
  int64_t length = 0;
  MFadeCurve curve = MFadeCurve::kLinear;
};

// One audio event: `length` frames of its clip, from `clipFrame` on, heard
// from timeline frame `start`. The material is the clip's current material
// (its process history applied), read through PClipReader.
struct RAudioSegment {
  size_t track = 0;
  int64_t start = 0;
  int64_t length = 0;
  int64_t clipFrame = 0;
  int channels = 1;
  int fileRate = 0;  // the clip's sample rate; the reader converts to the plan's
  FRef<AudioCluster> cluster;
  FRef<PClipMaterial> material;
  RFade fadeIn;
  RFade fadeOut;
};

// A MIDI channel message at a frame, for a track's instrument.
struct RMidiMessage {
  int64_t frame = 0;
  uint32_t track = 0;
  uint8_t status = 0;
  uint8_t data1 = 0;
  uint8_t data2 = 0;
};

// A metronome click: the first beat of a bar is accented.
struct RClick {
  int64_t frame = 0;
  bool accent = false;
};

struct RPlaybackPlan {
  int sampleRate = 48000;
  // The frame after the last sound of the project (the end of the last
  // segment or MIDI message, plus the instruments' release tail).
  int64_t end = 0;
  // The locators' range, in frames (left < right when set).
  int64_t leftLocator = 0;
  int64_t rightLocator = 0;
  std::vector<RTrackChannel> tracks;
  std::vector<RAudioSegment> segments;  // by start, then track
  std::vector<RMidiMessage> midi;       // by frame; equal frames keep the order played
  std::vector<RClick> clicks;           // by frame, over [0, end) and the locators' range
};

}  // namespace vantor

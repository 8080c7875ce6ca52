#pragma once
// The render benchmarks' project: 16 stereo audio tracks of 30 s (24-bit
// WAVE, each with its own pan and volume) and, when asked, 8 MIDI tracks of
// eighth notes through the built-in synthesizer. The audio files are made
// once in $VANTOR_BENCH_RENDER_DIR (default /tmp/vantor-bench-render).

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"
#include "audio/pool/MAudioEvent.h"
#include "audio/pool/PAudioPool.h"
#include "midi/events/MMidiMessage.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"

namespace vantor::bench {

inline constexpr int kRate = 48000;
inline constexpr int kSeconds = 30;
inline constexpr int kAudioTracks = 16;
inline constexpr int kMidiTracks = 8;

inline std::filesystem::path folder() {
  const char* dir = std::getenv("VANTOR_BENCH_RENDER_DIR");
  return dir != nullptr && *dir != 0 ? dir : "/tmp/vantor-bench-render";
}

inline std::string trackFile(int i) { return (folder() / ("track" + std::to_string(i) + ".wav")).string(); }

// Track i: a sine of its own pitch with a little noise, stereo 24-bit.
inline bool makeTrackFile(int i) {
  if (std::filesystem::exists(trackFile(i))) return true;
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = kRate;
  file.format.channels = 2;
  file.format.bitsPerSample = 24;
  AudioFileWriter writer;
  if (!writer.open(trackFile(i), file)) return false;
  std::mt19937 random(static_cast<unsigned>(i));
  std::uniform_real_distribution<float> noise(-0.02f, 0.02f);
  std::vector<float> block(4096 * 2);
  const double step = 2 * M_PI * (110.0 * (i + 1)) / kRate;
  for (int64_t at = 0; at < int64_t{kRate} * kSeconds; at += 4096) {
    for (size_t f = 0; f < 4096; ++f) {
      const auto s = static_cast<float>(0.1 * std::sin(step * static_cast<double>(at + static_cast<int64_t>(f))));
      block[2 * f] = s + noise(random);
      block[2 * f + 1] = s + noise(random);
    }
    if (!writer.writeFrames(block.data(), 4096)) return false;
  }
  return writer.close();
}

inline void addAudioTrack(MProject& project, int i) {
  AudioFileReader reader;
  if (!reader.open(trackFile(i))) return;
  auto cluster = makeRef<AudioCluster>();
  cluster->addFile(reader.file());
  auto clip = makeRef<PAudioClip>("take" + std::to_string(i), cluster);
  (void)PAudioPool::ensurePool(project)->addClip(clip);
  FRef<MTrackEvent> track = MProject::createTrack("Audio", "Audio " + std::to_string(i));
  track->setAttribute(MTrackAttribute::kPan, (i % 9 - 4) * 25);
  track->setAttribute(MTrackAttribute::kVolume, -300 * (i % 3));
  MTrackEvent* added = track.get();
  (void)project.addTrack(std::move(track));
  auto part = makeRef<MAudioPartEvent>();
  part->setName("Take");
  part->setStart(0);
  part->setLength(480.0 * 2 * kSeconds);
  auto event = makeRef<MAudioEvent>(clip, 0, clip->lengthFrames());
  event->setStart(0);
  event->setLength(480.0 * 2 * kSeconds);
  static_cast<MPartNode*>(part->getNode())->list().insert(event);
  (void)project.addPart(added, std::move(part));
}

// Eighth notes (240 pulses at 120 BPM) for the whole length, a pitch pattern per track.
inline void addMidiTrack(MProject& project, int i) {
  FRef<MTrackEvent> track = MProject::createTrack("MIDI", "MIDI " + std::to_string(i));
  MTrackEvent* added = track.get();
  (void)project.addTrack(std::move(track));
  FRef<MPartEvent> part = added->createPart();
  part->setName("Riff");
  part->setStart(0);
  part->setLength(480.0 * 2 * kSeconds);
  auto* node = static_cast<MPartNode*>(part->getNode());
  FRef<MMidiEvent> program = makeMidiEvent(static_cast<uint8_t>(0xC0 | i), static_cast<uint8_t>(i * 8), 0);
  program->setStart(0);
  node->list().insert(program);
  for (int n = 0; n < 4 * kSeconds; ++n) {
    FRef<MMidiEvent> note = makeMidiEvent(static_cast<uint8_t>(0x90 | i), static_cast<uint8_t>(48 + (n * 7 + i * 3) % 24), 90);
    note->setStart(240.0 * n);
    note->setLength(200);
    node->list().insert(note);
  }
  (void)project.addPart(added, std::move(part));
}

// Fills the project: the audio tracks, and the MIDI ones when `withMidi`;
// false when the track files could not be written.
inline bool buildBenchProject(MProject& project, bool withMidi) {
  std::filesystem::create_directories(folder());
  for (int i = 0; i < kAudioTracks; ++i) {
    if (!makeTrackFile(i)) return false;
  }
  for (int i = 0; i < kAudioTracks; ++i) addAudioTrack(project, i);
  for (int i = 0; withMidi && i < kMidiTracks; ++i) addMidiTrack(project, i);
  return true;
}

}  // namespace vantor::bench

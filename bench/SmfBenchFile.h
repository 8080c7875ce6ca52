#pragma once
// The benchmark file of the MIDI-file codec: about two million events in 16
// tracks (a conductor track of 4000 tempo changes and signatures, then 15
// tracks of notes under running status, controllers and system exclusive
// messages), at 480 ticks per quarter note. Also written by
// `bench_smf --generate PATH`, for the peer script and the importer.

#include <cstdint>
#include <string>

#include "foundation/FFileStream.h"
#include "midi/smf/MSmfWriter.h"

namespace vantor::bench {

constexpr int kSmfBenchTracks = 16;
constexpr int kSmfBenchTempos = 4000;
constexpr int kSmfBenchNotesPerTrack = 66667;  // two events each

// Writes the file through writer; false when any write failed.
inline bool writeSmfBenchFile(MSmfWriter& w) {
  MSmfHeader header;
  header.format = 1;
  header.division = 480;
  bool ok = w.beginFile(header) && w.beginTrack("Conductor");
  for (int i = 0; ok && i < kSmfBenchTempos; ++i) {
    const int64_t tick = int64_t{i} * 480;
    ok = w.tempo(tick, 400000.0f + static_cast<float>(i % 200) * 1000.0f);
    if (ok && i % 100 == 0) ok = w.timeSignature(tick, 3 + i / 100 % 5, 4);
  }
  ok = ok && w.endTrack();
  const uint8_t sysex[] = {0xF0, 0x41, 0x10, 0x42, 0x12, 0x40, 0x00, 0x7F, 0x00, 0x41, 0xF7};
  for (int t = 1; ok && t < kSmfBenchTracks; ++t) {
    ok = w.beginTrack("Track " + std::to_string(t));
    const auto channel = static_cast<uint8_t>(t % 16);
    int64_t tick = 0;
    for (int n = 0; ok && n < kSmfBenchNotesPerTrack; ++n) {
      const auto key = static_cast<uint8_t>(36 + (n * 7 + t) % 60);
      // Note-offs as note-ons of velocity 0 keep the running status.
      ok = w.channelEvent(tick, 0x90 | channel, key, static_cast<uint8_t>(40 + n % 80)) &&
           w.channelEvent(tick + 100, 0x90 | channel, key, 0);
      if (ok && n % 64 == 63) ok = w.channelEvent(tick + 100, 0xB0 | channel, 7, static_cast<uint8_t>(n % 128));
      if (ok && n % 2000 == 1999) ok = w.systemExclusive(tick + 100, sysex, sizeof sysex);
      tick += 120;
    }
    ok = ok && w.endTrack();
  }
  return ok && w.endFile();
}

inline bool writeSmfBenchFile(const std::string& path) {
  FFileStream stream;
  if (!stream.open(path, FFileStream::Mode::kWrite)) return false;
  MSmfWriter writer(stream);
  const bool ok = writeSmfBenchFile(writer);
  return stream.close() && ok;
}

}  // namespace vantor::bench

#pragma once
// One audio file on disk: where it is, its format, how many frames it holds,
// where its sample data begins, its cue entries and the attribute records
// kept with it.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "audio/files/AudioFormat.h"
#include "audio/files/BroadcastAttributes.h"
#include "audio/files/CodecAttributes.h"
#include "foundation/FRef.h"

namespace vantor {

// A pair of sample positions (frames): a point and its offset, or the start
// and end of a range.
struct CueEntry {
  int32_t first = 0;
  int32_t second = 0;
  bool operator==(const CueEntry&) const = default;
};

// The sampler settings an AIFF file carries in its "INST" chunk: the key
// the recording sounds at, the key and velocity ranges it plays on, a gain,
// and a sustain and a release loop, each bounded by the two positions of a
// cue entry.
struct InstrumentInfo {
  enum class LoopMode : int16_t { kNone = 0, kForward = 1, kForwardBackward = 2 };
  struct Loop {
    LoopMode mode = LoopMode::kNone;
    int cue = -1;  // index into AudioFile::cues, -1 for none
    bool operator==(const Loop&) const = default;
  };
  int8_t baseNote = 60;  // MIDI note number
  int8_t detune = 0;     // cents, -50 to 50
  int8_t lowNote = 0;
  int8_t highNote = 127;
  int8_t lowVelocity = 1;
  int8_t highVelocity = 127;
  int16_t gain = 0;  // dB
  Loop sustainLoop;
  Loop releaseLoop;
  bool operator==(const InstrumentInfo&) const = default;
};

// How the samples lie in the data: the container width, byte order, and
// for 8-bit integers whether they are stored unsigned (WAVE) or signed.
struct SampleEncoding {
  int bytesPerSample = 2;
  bool isFloat = false;
  bool bigEndian = false;
  bool unsignedBytes = false;
  bool operator==(const SampleEncoding&) const = default;
};

class AudioFile {
 public:
  std::string path;
  // The container's type name: "WAVE", "AIFF" or "AIFC".
  std::string typeName;
  AudioFormat format;
  bool bigEndian = false;  // byte order of the samples
  int64_t lengthFrames = 0;
  int64_t dataStart = 0;  // byte position of the first sample
  std::vector<CueEntry> cues;
  // An AIFF file that carries REX slice data (the slices are not read).
  bool rex = false;
  // A comment kept with the file (AIFF "ANNO"); empty for none.
  std::string annotation;
  // Sampler settings (AIFF "INST"); absent for none.
  std::optional<InstrumentInfo> instrument;
  FRef<CodecAttributes> codecAttributes;          // may be null
  FRef<BroadcastAttributes> broadcastAttributes;  // may be null

  SampleEncoding encoding() const;
};

}  // namespace vantor

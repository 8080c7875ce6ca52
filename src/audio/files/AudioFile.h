#pragma once
// One audio file on disk: where it is, its format, how many frames it holds,
// where its sample data begins, its cue entries and the attribute records
// kept with it.

#include <cstdint>
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
  FRef<CodecAttributes> codecAttributes;          // may be null
  FRef<BroadcastAttributes> broadcastAttributes;  // may be null

  SampleEncoding encoding() const;
};

}  // namespace vantor

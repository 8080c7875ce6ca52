#pragma once
// The Standard MIDI File parser. It walks the chunks of a file (formats 0
// and 1) and reports what it finds through virtual callbacks, which an
// importer overrides; it builds nothing itself.
//
// The file is parsed from memory: a stream whose bytes lie in memory (a
// mapped file, a memory stream) is parsed in place, any other is read in
// large blocks first. Nothing is allocated beyond the file's own size.
//
// Quirks of the format's readers that are kept on purpose:
// - one cursor runs through the file; a chunk that is not "MTrk" is neither
//   parsed nor skipped (the next chunk header is read right behind its
//   header) and it counts against the track count;
// - a chunk's length only counts down the bytes its events take: an event
//   that runs past it is read whole, and the next chunk header is read
//   where the cursor stopped;
// - status bytes 0xF1 to 0xFE other than 0xF7 and 0xFF have no meaning in a
//   file and are passed over alone;
// - the track count is signed: 0x8000 or more reads no track chunk;
// - running status survives system exclusive and meta events;
// - a failed read inside a chunk ends that chunk (an open track gets no end
//   track call) and the read goes on with the next chunk header.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "foundation/FStream.h"
#include "midi/smf/MSmfHeader.h"

namespace vantor {

// What createTrack() returned; handed back verbatim with every event of that
// track. The parser never looks at it (it may be null).
using MSmfTrackHandle = void*;

class MSmfReader {
 public:
  MSmfReader() = default;
  MSmfReader(const MSmfReader&) = delete;
  MSmfReader& operator=(const MSmfReader&) = delete;

  // Callbacks, in this order of declaration. Ticks are absolute within the
  // track chunk, in the file's division (header().division).

  virtual ~MSmfReader() = default;
  // After the header was read; false aborts the read, which then fails.
  virtual bool beginFile() { return true; }
  virtual void endFile() {}
  // Called lazily, on the first event of a chunk that needs a track (a
  // channel, system exclusive, text or meta event, or an end of track in a
  // chunk without tempo or signature events). index is the chunk's number,
  // counting from 0 and counting chunks that are not "MTrk".
  virtual MSmfTrackHandle createTrack(int index) {
    (void)index;
    return nullptr;
  }
  // The chunk's first non-empty track name (meta type 3), at its end of
  // track. The bytes are as stored.
  virtual void setTrackName(MSmfTrackHandle track, std::string_view name) {
    (void)track;
    (void)name;
  }
  // tick is that of the end-of-track event, or -1 when the chunk ended
  // without one.
  virtual void endTrack(MSmfTrackHandle track, int64_t tick) {
    (void)track;
    (void)tick;
  }
  // status 0x80 to 0xEF; data2 is 0 for the one-data-byte messages (0xC0 to
  // 0xDF). Data bytes are passed as read, top bit included.
  virtual void channelEvent(MSmfTrackHandle track, int64_t tick, uint8_t status, uint8_t data1, uint8_t data2) {
    (void)track, (void)tick, (void)status, (void)data1, (void)data2;
  }
  // bytes[0] is 0xF0 and bytes[count - 1] is forced to 0xF7 (overwriting the
  // last byte stored); count is the stored length + 1. With a stored length
  // of 0 the single byte is 0xF7.
  virtual void systemExclusive(MSmfTrackHandle track, int64_t tick, const uint8_t* bytes, uint32_t count) {
    (void)track, (void)tick, (void)bytes, (void)count;
  }
  // Any meta type but 1, 3, 0x2F, 0x51 and 0x58. data holds length bytes
  // followed by a 0 byte; it is null when length is 0. Valid during the call.
  virtual void metaEvent(MSmfTrackHandle track, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) {
    (void)track, (void)tick, (void)type, (void)length, (void)data;
  }
  // Meta type 1; data as for metaEvent().
  virtual void textEvent(MSmfTrackHandle track, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) {
    (void)track, (void)tick, (void)type, (void)length, (void)data;
  }
  // Meta type 0x51: seconds per quarter note (the stored microseconds / 10^6).
  virtual void tempo(int64_t tick, float secondsPerQuarter) { (void)tick, (void)secondsPerQuarter; }
  // Meta type 0x58: the denominator is 2 raised to the stored exponent, or 0
  // when that exceeds 32 bits (exponent 31 or more).
  virtual void timeSignature(int64_t tick, int numerator, int denominator) {
    (void)tick, (void)numerator, (void)denominator;
  }

  // Reads a file that begins at the stream's position; the stream is set to
  // big-endian and left after the last byte the parse consumed. False when
  // the header chunk cannot be read or is not "MThd" (no callback was made)
  // or when beginFile() answered false. Damage inside track chunks does not
  // fail the read: whatever could be read was reported.
  [[nodiscard]] bool read(FStream& stream);
  // The same over bytes in memory.
  [[nodiscard]] bool read(const uint8_t* data, size_t size);

  // The header of the file being read (valid from beginFile() on).
  const MSmfHeader& header() const { return header_; }

 private:
  // Parses the file's bytes; *consumed is how far the cursor got.
  [[nodiscard]] bool parse(const uint8_t* data, size_t size, size_t* consumed);

  MSmfHeader header_;
  // Scratch for meta and system exclusive data; never larger than the file.
  std::vector<uint8_t> scratch_;
};

}  // namespace vantor

#pragma once
// Writes a Standard MIDI File, one operation per kind of event, to a stream
// (big-endian). Bytes are gathered in a buffer of the writer's own and
// handed to the stream in large blocks; the chunk lengths and the track
// count are fixed up when a track and the file end.
//
// States: header not written -> between tracks -> in a track -> between
// tracks ... -> endFile(). beginFile() does nothing once the header is
// written; beginTrack() is refused in a track or before the header; the
// event operations are refused outside a track. Every operation returns
// false when the stream failed or its arguments were refused; a refused
// operation writes nothing. Ticks are absolute within the track, in the
// header's division; an event earlier than the one before it is refused.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/FStream.h"
#include "midi/smf/MSmfHeader.h"

namespace vantor {

class MSmfWriter {
 public:
  // Writes to stream from its current position on; sets it to big-endian.
  // The stream must outlive the writer and see no other writes meanwhile.
  explicit MSmfWriter(FStream& stream);
  MSmfWriter(const MSmfWriter&) = delete;
  MSmfWriter& operator=(const MSmfWriter&) = delete;
  // Does not flush: a file is complete only after endFile().
  ~MSmfWriter() = default;

  // Writes "MThd", length 6, format, the track count (fixed up by
  // endFile()) and the division word. Success without writing when the
  // header is already written.
  [[nodiscard]] bool beginFile(const MSmfHeader& header);
  // Starts an "MTrk" chunk; a name is written as a meta event of type 3 at
  // tick 0. Clears the running status.
  [[nodiscard]] bool beginTrack(std::optional<std::string_view> name = std::nullopt);
  // A channel message: status 0x80 to 0xEF (anything else is refused); two
  // data bytes for 0x8n, 0x9n, 0xAn, 0xBn and 0xEn, data1 only for 0xCn and
  // 0xDn. The status byte is left out when it equals the last one written
  // (running status). Data bytes are written as given.
  [[nodiscard]] bool channelEvent(int64_t tick, uint8_t status, uint8_t data1, uint8_t data2);
  // A whole message of count bytes (at least 1) whose first byte is taken to
  // be its 0xF0: writes 0xF0, count - 1 and bytes[1..count-1], then 0xF7 when
  // the message did not end with one. The appended 0xF7 is not counted in
  // the stored length, as in the files this program has always written;
  // the reader replaces the message's last byte with 0xF7 to match.
  // Clears the running status.
  [[nodiscard]] bool systemExclusive(int64_t tick, const uint8_t* bytes, uint32_t count);
  // A message written in pieces: 0xF0 and count (the number of bytes to
  // follow), after which rawBytes() writes them, 0xF7 included if wanted.
  // Clears the running status.
  [[nodiscard]] bool systemExclusiveStart(int64_t tick, uint32_t count);
  [[nodiscard]] bool rawBytes(const uint8_t* bytes, uint32_t count);
  // Meta type 0x51: the microseconds per quarter note, truncated to an
  // integer, in three bytes (0 to 0xFFFFFF; others are refused).
  [[nodiscard]] bool tempo(int64_t tick, float microsecondsPerQuarter);
  // Meta type 0x58: numerator (0 to 255), the base-2 logarithm of the
  // denominator (at least 1) truncated to an integer, 24 and 8.
  [[nodiscard]] bool timeSignature(int64_t tick, int numerator, int denominator);
  // A meta event of any type with length bytes of data; without data, value
  // is packed into length bytes (at most 4), its least significant 7 bits
  // first. Meta events keep the running status.
  [[nodiscard]] bool metaEvent(uint8_t type, int64_t tick, const uint8_t* data, uint32_t length, uint32_t value = 0);
  // Writes the end-of-track event at the last event's tick and stores the
  // chunk's length.
  [[nodiscard]] bool endTrack();
  // Stores the number of tracks written in the header and hands everything
  // to the stream.
  [[nodiscard]] bool endFile();

  // The number of tracks ended so far.
  int tracksWritten() const { return tracks_ < 0 ? 0 : tracks_; }

 private:
  // The track count before the header is written (0xFFFF in 16 bits).
  static constexpr int kHeaderNotWritten = -1;

  // Checks the tick against the last one and writes the delta; false (and
  // nothing written) for an earlier tick, no open track or a delta too large.
  [[nodiscard]] bool writeDelta(int64_t tick);
  [[nodiscard]] bool writeMetaHead(uint8_t type, int64_t tick, uint32_t length);
  void put(uint8_t byte) { buffer_.push_back(byte); }
  void put(const uint8_t* bytes, size_t count) { buffer_.insert(buffer_.end(), bytes, bytes + count); }
  void putVariableLength(uint32_t value);
  void putU32(uint32_t value);
  // Hands the buffer to the stream when it has grown large.
  [[nodiscard]] bool flushIfFull();
  [[nodiscard]] bool flush();
  // Stores bytes at an absolute stream position already written.
  [[nodiscard]] bool patch(int64_t position, const uint8_t* bytes, size_t count);
  int64_t position() const { return bufferStart_ + static_cast<int64_t>(buffer_.size()); }

  FStream& stream_;
  std::vector<uint8_t> buffer_;
  int64_t bufferStart_ = 0;  // stream position of buffer_[0]
  int64_t fileStart_ = 0;
  int64_t trackStart_ = -1;  // position of the track's data; -1 outside a track
  int64_t lastTick_ = -1;    // -1 outside a track
  int lastStatus_ = -1;      // -1: none (running status cleared)
  int tracks_ = kHeaderNotWritten;
};

}  // namespace vantor

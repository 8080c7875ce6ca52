#include "midi/smf/MSmfWriter.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "midi/smf/MSmfVariableLength.h"

namespace vantor {

namespace {
constexpr size_t kFlushSize = 1 << 18;
constexpr uint8_t kEndOfTrack = 0x2F;
constexpr uint8_t kTrackName = 0x03;
}  // namespace

MSmfWriter::MSmfWriter(FStream& stream) : stream_(stream) {
  stream_.setSwap(1);
  buffer_.reserve(kFlushSize + 1024);
}

void MSmfWriter::putVariableLength(uint32_t value) {
  uint8_t bytes[kSmfMaxVariableLengthBytes];
  put(bytes, static_cast<size_t>(writeSmfVariableLength(value, bytes)));
}

void MSmfWriter::putU32(uint32_t value) {
  const uint8_t bytes[4] = {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
                            static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
  put(bytes, 4);
}

bool MSmfWriter::flush() {
  if (buffer_.empty()) return true;
  const bool ok = stream_.writeRaw(buffer_.data(), static_cast<int64_t>(buffer_.size()));
  bufferStart_ += static_cast<int64_t>(buffer_.size());
  buffer_.clear();
  return ok;
}

bool MSmfWriter::flushIfFull() { return buffer_.size() < kFlushSize || flush(); }

bool MSmfWriter::patch(int64_t position, const uint8_t* bytes, size_t count) {
  if (position >= bufferStart_) {
    std::copy(bytes, bytes + count, buffer_.begin() + (position - bufferStart_));
    return true;
  }
  // Already handed to the stream: go back, store, and return to the end.
  if (!flush()) return false;
  const int64_t end = bufferStart_;
  return stream_.seek(position) && stream_.writeRaw(bytes, static_cast<int64_t>(count)) && stream_.seek(end);
}

bool MSmfWriter::beginFile(const MSmfHeader& header) {
  if (tracks_ != kHeaderNotWritten) return true;
  bufferStart_ = stream_.position();
  fileStart_ = bufferStart_;
  const uint16_t division = encodeSmfDivision(header);
  const auto count = static_cast<uint16_t>(header.trackCount);
  putU32(fourCC("MThd"));
  putU32(6);
  const uint8_t fields[6] = {static_cast<uint8_t>(header.format >> 8), static_cast<uint8_t>(header.format),
                             static_cast<uint8_t>(count >> 8),         static_cast<uint8_t>(count),
                             static_cast<uint8_t>(division >> 8),      static_cast<uint8_t>(division)};
  put(fields, 6);
  tracks_ = 0;
  return true;
}

bool MSmfWriter::beginTrack(std::optional<std::string_view> name) {
  if (tracks_ == kHeaderNotWritten || trackStart_ >= 0) return false;
  if (name && name->size() > kSmfMaxVariableLength) return false;
  putU32(fourCC("MTrk"));
  putU32(0);
  trackStart_ = position();
  lastTick_ = 0;
  lastStatus_ = -1;
  if (name) {
    const auto length = static_cast<uint32_t>(name->size());
    if (!writeMetaHead(kTrackName, 0, length)) return false;
    put(reinterpret_cast<const uint8_t*>(name->data()), length);
  }
  return flushIfFull();
}

bool MSmfWriter::writeDelta(int64_t tick) {
  if (trackStart_ < 0) return false;
  const int64_t delta = tick - lastTick_;
  if (delta < 0 || delta > kSmfMaxVariableLength) return false;
  putVariableLength(static_cast<uint32_t>(delta));
  lastTick_ = tick;
  return true;
}

bool MSmfWriter::channelEvent(int64_t tick, uint8_t status, uint8_t data1, uint8_t data2) {
  const int kind = status >> 4;
  if (kind < 0x8 || kind == 0xF) return false;
  if (!writeDelta(tick)) return false;
  if (status != lastStatus_) put(status);
  lastStatus_ = status;
  put(data1);
  if (kind != 0xC && kind != 0xD) put(data2);
  return flushIfFull();
}

bool MSmfWriter::systemExclusive(int64_t tick, const uint8_t* bytes, uint32_t count) {
  if (bytes == nullptr || count < 1 || count - 1 > kSmfMaxVariableLength) return false;
  if (!writeDelta(tick)) return false;
  put(0xF0);
  putVariableLength(count - 1);
  put(bytes + 1, count - 1);
  // The stored length leaves the appended 0xF7 out.
  if (bytes[count - 1] != 0xF7) put(0xF7);
  lastStatus_ = -1;
  return flushIfFull();
}

bool MSmfWriter::systemExclusiveStart(int64_t tick, uint32_t count) {
  if (count > kSmfMaxVariableLength || !writeDelta(tick)) return false;
  put(0xF0);
  putVariableLength(count);
  lastStatus_ = -1;
  return flushIfFull();
}

bool MSmfWriter::rawBytes(const uint8_t* bytes, uint32_t count) {
  if (trackStart_ < 0) return false;
  put(bytes, count);
  return flushIfFull();
}

bool MSmfWriter::writeMetaHead(uint8_t type, int64_t tick, uint32_t length) {
  if (length > kSmfMaxVariableLength || !writeDelta(tick)) return false;
  put(0xFF);
  put(type);
  putVariableLength(length);
  return true;
}

bool MSmfWriter::tempo(int64_t tick, float microsecondsPerQuarter) {
  if (!(microsecondsPerQuarter >= 0.0f && microsecondsPerQuarter < 16777216.0f)) return false;
  const auto value = static_cast<uint32_t>(microsecondsPerQuarter);
  if (!writeMetaHead(0x51, tick, 3)) return false;
  const uint8_t bytes[3] = {static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
                            static_cast<uint8_t>(value)};
  put(bytes, 3);
  return flushIfFull();
}

bool MSmfWriter::timeSignature(int64_t tick, int numerator, int denominator) {
  if (numerator < 0 || numerator > 255 || denominator < 1) return false;
  // The truncated base-2 logarithm, exact for every integer.
  const auto exponent = static_cast<uint8_t>(std::bit_width(static_cast<unsigned>(denominator)) - 1);
  if (!writeMetaHead(0x58, tick, 4)) return false;
  // 24 clocks per metronome click, 8 thirty-seconds per quarter note.
  const uint8_t bytes[4] = {static_cast<uint8_t>(numerator), exponent, 24, 8};
  put(bytes, 4);
  return flushIfFull();
}

bool MSmfWriter::metaEvent(uint8_t type, int64_t tick, const uint8_t* data, uint32_t length, uint32_t value) {
  if (data == nullptr && length > 4) return false;
  if (!writeMetaHead(type, tick, length)) return false;
  if (data != nullptr) {
    put(data, length);
  } else {
    for (uint32_t i = 0; i < length; ++i) put(static_cast<uint8_t>((value >> (7 * i)) & 0x7F));
  }
  return flushIfFull();
}

bool MSmfWriter::endTrack() {
  if (trackStart_ < 0) return false;
  if (!writeMetaHead(kEndOfTrack, lastTick_, 0)) return false;
  const auto length = static_cast<uint32_t>(position() - trackStart_);
  const uint8_t bytes[4] = {static_cast<uint8_t>(length >> 24), static_cast<uint8_t>(length >> 16),
                            static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)};
  const bool ok = patch(trackStart_ - 4, bytes, 4);
  trackStart_ = -1;
  lastTick_ = -1;
  ++tracks_;
  return ok && flushIfFull();
}

bool MSmfWriter::endFile() {
  if (tracks_ == kHeaderNotWritten) return false;
  const auto count = static_cast<uint16_t>(tracks_);
  const uint8_t bytes[2] = {static_cast<uint8_t>(count >> 8), static_cast<uint8_t>(count)};
  return patch(fileStart_ + 10, bytes, 2) && flush();
}

}  // namespace vantor

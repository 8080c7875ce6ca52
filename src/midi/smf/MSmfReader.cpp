#include "midi/smf/MSmfReader.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "midi/smf/MSmfVariableLength.h"

namespace vantor {

namespace {

constexpr uint32_t kHeaderChunk = fourCC("MThd");
constexpr uint32_t kTrackChunk = fourCC("MTrk");
constexpr int64_t kReadBlock = 1 << 16;

// A bounds-checked position in the file's bytes. A read that runs past the
// end fails and leaves the cursor at the end, as a stream would be after a
// short read.
class Cursor {
 public:
  Cursor(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  size_t position() const { return position_; }
  size_t left() const { return size_ - position_; }
  bool byte(uint8_t* out) {
    if (position_ >= size_) {
      *out = 0;
      return false;
    }
    *out = data_[position_++];
    return true;
  }
  bool bytes(size_t count, const uint8_t** out) {
    if (count > left()) {
      position_ = size_;
      return false;
    }
    *out = data_ + position_;
    position_ += count;
    return true;
  }
  bool u16(uint16_t* out) {
    const uint8_t* b = nullptr;
    if (!bytes(2, &b)) return false;
    *out = static_cast<uint16_t>((b[0] << 8) | b[1]);
    return true;
  }
  bool u32(uint32_t* out) {
    const uint8_t* b = nullptr;
    if (!bytes(4, &b)) return false;
    *out = (uint32_t{b[0]} << 24) | (uint32_t{b[1]} << 16) | (uint32_t{b[2]} << 8) | b[3];
    return true;
  }
  // Returns the bytes the quantity took, 0 on failure (a truncated quantity
  // or one longer than 4 bytes, whose first 4 bytes are then consumed).
  int vlq(uint32_t* out) {
    const int used = readSmfVariableLength(data_ + position_, left(), out);
    position_ += used > 0 ? static_cast<size_t>(used) : std::min<size_t>(kSmfMaxVariableLengthBytes, left());
    return used;
  }
  void skip(size_t count) { position_ += std::min(count, left()); }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t position_ = 0;
};

// The parse of one track chunk: its running status, its open track and the
// name kept for it.
class TrackParser {
 public:
  TrackParser(MSmfReader& reader, Cursor& cursor, std::vector<uint8_t>& scratch, int index)
      : reader_(reader), cursor_(cursor), scratch_(scratch), index_(index) {}

  void parse(uint32_t length);

 private:
  // Each returns false when a read failed, which ends the chunk.
  bool event();
  bool channel(uint8_t status, uint8_t data1, bool twoBytes);
  bool systemExclusive();
  bool meta();
  void endOfTrack();
  MSmfTrackHandle track();
  // Takes n bytes, counting them against the chunk.
  bool take(size_t n, const uint8_t** out) {
    if (!cursor_.bytes(n, out)) return false;
    remaining_ -= static_cast<int64_t>(n);
    return true;
  }
  bool takeByte(uint8_t* out) {
    if (!cursor_.byte(out)) return false;
    remaining_ -= 1;
    return true;
  }
  bool takeVlq(uint32_t* out) {
    const int used = cursor_.vlq(out);
    remaining_ -= used;
    return used > 0;
  }

  MSmfReader& reader_;
  Cursor& cursor_;
  std::vector<uint8_t>& scratch_;
  const int index_;
  int64_t remaining_ = 0;
  int64_t tick_ = 0;
  bool open_ = false;
  MSmfTrackHandle handle_ = nullptr;
  uint8_t runningStatus_ = 0;
  bool runningTwoBytes_ = false;
  bool sawTempoOrSignature_ = false;
  std::string name_;
  bool nameKept_ = false;
};

void TrackParser::parse(uint32_t length) {
  remaining_ = length;
  while (remaining_ > 0) {
    if (!event()) return;  // a failed read: no end track call
  }
  if (open_) reader_.endTrack(handle_, -1);
}

MSmfTrackHandle TrackParser::track() {
  if (!open_) {
    handle_ = reader_.createTrack(index_);
    open_ = true;
  }
  return handle_;
}

bool TrackParser::event() {
  uint32_t delta = 0;
  uint8_t status = 0;
  if (!takeVlq(&delta) || !takeByte(&status)) return false;
  tick_ += delta;
  if (status < 0x80) {
    // A data byte under running status; ignored when no status is known.
    if (runningStatus_ == 0) return true;
    return channel(runningStatus_, status, runningTwoBytes_);
  }
  if (status < 0xF0) {
    const bool twoBytes = status < 0xC0 || status >= 0xE0;
    uint8_t data1 = 0;
    if (!takeByte(&data1)) return false;
    runningStatus_ = status;
    runningTwoBytes_ = twoBytes;
    return channel(status, data1, twoBytes);
  }
  if (status == 0xF0 || status == 0xF7) return systemExclusive();
  if (status == 0xFF) return meta();
  // System common and real-time bytes have no place in a file: passed over.
  return true;
}

bool TrackParser::channel(uint8_t status, uint8_t data1, bool twoBytes) {
  uint8_t data2 = 0;
  if (twoBytes && !takeByte(&data2)) return false;
  reader_.channelEvent(track(), tick_, status, data1, data2);
  return true;
}

bool TrackParser::systemExclusive() {
  uint32_t count = 0;
  const uint8_t* bytes = nullptr;
  if (!takeVlq(&count) || !take(count, &bytes)) return false;
  scratch_.resize(size_t{count} + 1);
  scratch_[0] = 0xF0;
  if (count > 0) std::memcpy(scratch_.data() + 1, bytes, count);
  // The stored last byte is replaced, whatever it was.
  scratch_[count] = 0xF7;
  reader_.systemExclusive(track(), tick_, scratch_.data(), count + 1);
  return true;
}

bool TrackParser::meta() {
  uint8_t type = 0;
  uint32_t length = 0;
  const uint8_t* bytes = nullptr;
  if (!takeByte(&type) || !takeVlq(&length) || !take(length, &bytes)) return false;
  // The data is handed on zero-terminated, and padded so that a short tempo
  // or signature reads its missing bytes as 0.
  const uint8_t* data = nullptr;
  if (length > 0) {
    scratch_.assign(size_t{length} + 4, 0);
    std::memcpy(scratch_.data(), bytes, length);
    data = scratch_.data();
  }
  static constexpr uint8_t kZeros[4] = {};
  const uint8_t* value = data != nullptr ? data : kZeros;
  switch (type) {
    case 0x01:
      reader_.textEvent(track(), tick_, type, length, data);
      break;
    case 0x03:
      if (!nameKept_ && data != nullptr) {
        name_.assign(reinterpret_cast<const char*>(data), length);
        nameKept_ = true;
      }
      break;
    case 0x2F:
      endOfTrack();
      break;
    case 0x51:
      sawTempoOrSignature_ = true;
      reader_.tempo(tick_, static_cast<float>(((value[0] << 16) | (value[1] << 8) | value[2]) / 1000000.0));
      break;
    case 0x58:
      sawTempoOrSignature_ = true;
      reader_.timeSignature(tick_, value[0], value[1] < 31 ? 1 << value[1] : 0);
      break;
    default:
      reader_.metaEvent(track(), tick_, type, length, data);
      break;
  }
  return true;
}

void TrackParser::endOfTrack() {
  // An empty chunk still makes a track; one that held only tempo and
  // signature events does not.
  if (!open_ && !sawTempoOrSignature_) track();
  if (!open_) return;
  if (nameKept_) reader_.setTrackName(handle_, name_);
  reader_.endTrack(handle_, tick_);
  open_ = false;
  handle_ = nullptr;
  tick_ = 0;
}

}  // namespace

bool MSmfReader::parse(const uint8_t* data, size_t size, size_t* consumed) {
  Cursor cursor(data, size);
  *consumed = 0;
  header_ = MSmfHeader{};
  uint32_t type = 0;
  uint32_t length = 0;
  uint16_t format = 0;
  uint16_t tracks = 0;
  uint16_t division = 0;
  if (!cursor.u32(&type) || type != kHeaderChunk || !cursor.u32(&length) || !cursor.u16(&format) ||
      !cursor.u16(&tracks) || !cursor.u16(&division)) {
    return false;
  }
  header_.format = format;
  header_.trackCount = static_cast<int16_t>(tracks);
  decodeSmfDivision(division, &header_);
  if (length > 6) cursor.skip(length - 6);
  if (!beginFile()) return false;
  for (int index = 0; index < header_.trackCount; ++index) {
    // A chunk header that cannot be read is passed over like a damaged
    // chunk; nothing after it can be read either.
    if (!cursor.u32(&type) || !cursor.u32(&length)) break;
    if (type == kTrackChunk) {
      TrackParser(*this, cursor, scratch_, index).parse(length);
    }
  }
  endFile();
  *consumed = cursor.position();
  return true;
}

bool MSmfReader::read(const uint8_t* data, size_t size) {
  size_t consumed = 0;
  const bool ok = parse(data, size, &consumed);
  scratch_ = {};
  return ok;
}

bool MSmfReader::read(FStream& stream) {
  stream.setSwap(1);
  const int64_t start = stream.position();
  int64_t available = 0;
  const uint8_t* window = stream.directBytes(&available);
  const int64_t remaining = stream.remaining();
  std::vector<uint8_t> copy;
  if (window == nullptr || remaining == FStream::kUnknown || available < remaining) {
    // Not in memory: read it in blocks, so that the copy grows only as far
    // as the stream really delivers.
    window = nullptr;
    std::vector<uint8_t> block(kReadBlock);
    int64_t got = 0;
    while ((got = stream.readBytes(block.data(), kReadBlock)) > 0) {
      copy.insert(copy.end(), block.begin(), block.begin() + got);
    }
    available = static_cast<int64_t>(copy.size());
  }
  size_t consumed = 0;
  const bool ok = parse(window != nullptr ? window : copy.data(), static_cast<size_t>(available), &consumed);
  scratch_ = {};
  (void)stream.seek(start + static_cast<int64_t>(consumed));
  return ok;
}

}  // namespace vantor

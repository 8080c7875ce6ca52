#include "audio/files/WaveFileHandler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vantor {

namespace {

constexpr uint16_t kTagPcm = CodecAttributes::kTagPcm;
constexpr uint16_t kTagFloat = CodecAttributes::kTagFloat;
constexpr uint16_t kTagExtensible = CodecAttributes::kTagExtensible;
constexpr uint32_t kMaxDataBytes = 0xFFFFFFFFu;

// The fields of a format chunk, as written or read.
struct FormatChunk {
  uint16_t tag = kTagPcm;
  uint16_t channels = 0;
  uint32_t sampleRate = 0;
  uint32_t averageBytesPerSecond = 0;
  uint16_t blockAlign = 0;
  uint16_t bitsPerSample = 0;
  uint16_t extraSize = 0;
  std::vector<uint8_t> extraBytes;
};

FormatChunk chunkOf(const CodecAttributes& record) {
  return {record.formatTag,  static_cast<uint16_t>(record.channels),
          record.sampleRate, record.averageBytesPerSecond,
          record.blockAlign, record.bitsPerSample,
          record.extraSize,  record.extraBytes};
}

bool writeId(FStream& stream, const char* id) { return stream.writeRaw(id, 4); }

bool writeChunkHeader(FStream& stream, const char* id, uint32_t size) {
  return writeId(stream, id) && stream.writeUInt32(size);
}

bool writeFormatChunk(FStream& stream, const FormatChunk& chunk, uint32_t size) {
  bool ok = writeChunkHeader(stream, "fmt ", size) && stream.writeUInt16(chunk.tag) &&
            stream.writeUInt16(chunk.channels) && stream.writeUInt32(chunk.sampleRate) &&
            stream.writeUInt32(chunk.averageBytesPerSecond) && stream.writeUInt16(chunk.blockAlign) &&
            stream.writeUInt16(chunk.bitsPerSample);
  if (!ok || chunk.tag <= kTagPcm) return ok;
  if (!stream.writeUInt16(chunk.extraSize)) return false;
  if (chunk.extraSize == 0 || chunk.extraBytes.empty()) return true;
  // The chunk's size counts extraSize bytes: a shorter record is filled up.
  std::vector<uint8_t> extra(chunk.extraSize, 0);
  std::copy_n(chunk.extraBytes.begin(), std::min<size_t>(extra.size(), chunk.extraBytes.size()), extra.begin());
  return stream.writeRaw(extra.data(), static_cast<int64_t>(extra.size()));
}

// The cue chunk's 52 data bytes: the count (twice the entries) and the
// first two points; point i has identifier 2 × i.
bool writeCueChunk(FStream& stream, const std::vector<CueEntry>& cues) {
  uint8_t data[WaveFileHandler::kCueChunkSize] = {};
  auto put32 = [&data](int at, uint32_t value) {
    for (int i = 0; i < 4; ++i) data[at + i] = static_cast<uint8_t>(value >> (8 * i));
  };
  put32(0, static_cast<uint32_t>(2 * cues.size()));
  for (size_t i = 0; i < std::min<size_t>(cues.size(), 2); ++i) {
    const int at = 4 + static_cast<int>(i) * 24;
    put32(at, static_cast<uint32_t>(2 * i));
    put32(at + 4, static_cast<uint32_t>(cues[i].first));
    std::memcpy(data + at + 8, "data", 4);
    put32(at + 20, static_cast<uint32_t>(cues[i].second));
  }
  return writeChunkHeader(stream, "cue ", WaveFileHandler::kCueChunkSize) && stream.writeRaw(data, sizeof data);
}

// The format chunk for a new file. A float file gets a fresh record; a
// record whose bits disagree with the format is dropped for plain PCM.
FormatChunk formatChunkFor(AudioFile* file) {
  const AudioFormat& format = file->format;
  if (format.sampleType == SampleType::kFloat) file->codecAttributes = makeRef<CodecAttributes>(format, kTagFloat);
  if (file->codecAttributes && file->codecAttributes->bitsPerSample == format.bitsPerSample) {
    return chunkOf(*file->codecAttributes);
  }
  file->codecAttributes = nullptr;
  return chunkOf(CodecAttributes(format, kTagPcm));
}

// --- Reading ---------------------------------------------------------------

enum ChunkFlag : unsigned { kFormHeader = 1, kFormatChunk = 2, kCueChunk = 4, kDataChunk = 8, kBextChunk = 16 };

bool readId(FStream& stream, char* id) { return stream.readRaw(id, 4); }
bool isId(const char* id, const char* text) { return std::memcmp(id, text, 4) == 0; }

// The tail of the extensible format's sub-format identifier for PCM and
// float: the tag sits in its first two bytes.
constexpr uint8_t kSubFormatTail[14] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                        0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

bool readFormatChunk(FStream& stream, uint32_t size, FormatChunk* chunk) {
  if (size < 16) return false;
  bool ok = stream.readUInt16(&chunk->tag) && stream.readUInt16(&chunk->channels) &&
            stream.readUInt32(&chunk->sampleRate) && stream.readUInt32(&chunk->averageBytesPerSecond) &&
            stream.readUInt16(&chunk->blockAlign) && stream.readUInt16(&chunk->bitsPerSample);
  if (!ok) return false;
  if (size >= 18 && !stream.readUInt16(&chunk->extraSize)) return false;
  const uint32_t present = size >= 18 ? std::min<uint32_t>(chunk->extraSize, size - 18) : 0;
  chunk->extraBytes.resize(present);
  return present == 0 || stream.readRaw(chunk->extraBytes.data(), present);
}

// The tag that tells how the samples are stored: the sub-format's for the
// extensible format, 0 for one that is not PCM or float.
uint16_t sampleTagOf(const FormatChunk& chunk) {
  if (chunk.tag != kTagExtensible) return chunk.tag;
  if (chunk.extraBytes.size() < 22) return 0;
  const uint8_t* guid = chunk.extraBytes.data() + 6;
  if (std::memcmp(guid + 2, kSubFormatTail, sizeof kSubFormatTail) != 0) return 0;
  return static_cast<uint16_t>(guid[0] | (guid[1] << 8));
}

bool formatOf(const FormatChunk& chunk, AudioFormat* format) {
  const uint16_t tag = sampleTagOf(chunk);
  if (chunk.channels < 1 || chunk.channels > 0x7FFF || chunk.sampleRate < 1) return false;
  format->sampleRate = static_cast<float>(chunk.sampleRate);
  format->channels = static_cast<int16_t>(chunk.channels);
  if (tag == kTagFloat) {
    if (chunk.bitsPerSample != 32 && chunk.bitsPerSample != 64) return false;
    format->sampleType = SampleType::kFloat;
    format->bitsPerSample = static_cast<int16_t>(chunk.bitsPerSample);
    return true;
  }
  if (tag != kTagPcm || chunk.bitsPerSample < 1 || chunk.bitsPerSample > 32) return false;
  // Whole-byte containers: 20-bit samples lie in 3 bytes.
  format->sampleType = SampleType::kInteger;
  format->bitsPerSample = static_cast<int16_t>((chunk.bitsPerSample + 7) / 8 * 8);
  return true;
}

// Cue points: as many as (size − 4) / 24 says, no more than the file holds.
void readCueChunk(FStream& stream, uint32_t size, int64_t available, std::vector<CueEntry>* cues) {
  uint32_t count = 0;
  if (size < 4 || !stream.readUInt32(&count)) return;
  const int64_t points = std::min<int64_t>((size - 4) / 24, std::max<int64_t>(0, available - 4) / 24);
  for (int64_t i = 0; i < points; ++i) {
    uint32_t fields[6] = {};
    for (uint32_t& field : fields) {
      if (!stream.readUInt32(&field)) return;
    }
    cues->push_back({static_cast<int32_t>(fields[1]), static_cast<int32_t>(fields[5])});
  }
}

// What the chunk walk found.
struct WaveChunks {
  unsigned flags = 0;
  FormatChunk format;
  int64_t dataStart = 0;
  uint32_t dataSize = 0;
  std::vector<CueEntry> cues;
  FRef<BroadcastAttributes> broadcast;
};

bool readChunk(FStream& stream, const char* id, uint32_t size, int64_t available, WaveChunks* found) {
  if (isId(id, "fmt ") && !(found->flags & kFormatChunk)) {
    found->flags |= kFormatChunk;
    return readFormatChunk(stream, size, &found->format);
  }
  if (isId(id, "cue ") && !(found->flags & kCueChunk)) {
    found->flags |= kCueChunk;
    readCueChunk(stream, size, available, &found->cues);
  } else if (isId(id, "data") && !(found->flags & kDataChunk)) {
    found->flags |= kDataChunk;
    found->dataStart = stream.position();
    found->dataSize = size;
  } else if (isId(id, "bext") && !(found->flags & kBextChunk) && size >= BroadcastAttributes::kMinimumChunkSize &&
             available >= BroadcastAttributes::kMinimumChunkSize) {
    found->flags |= kBextChunk;
    uint8_t bytes[BroadcastAttributes::kMinimumChunkSize];
    if (stream.readRaw(bytes, sizeof bytes)) {
      found->broadcast = makeRef<BroadcastAttributes>();
      found->broadcast->decode(bytes);
    }
  }
  return true;
}

bool walkChunks(FStream& stream, int64_t fileSize, WaveChunks* found) {
  char id[4];
  uint32_t formSize = 0;
  char formType[4];
  if (!readId(stream, id) || !isId(id, "RIFF") || !stream.readUInt32(&formSize) || !readId(stream, formType) ||
      !isId(formType, "WAVE")) {
    return false;
  }
  found->flags = kFormHeader;
  int64_t position = 12;
  while (position + 8 <= fileSize) {
    uint32_t size = 0;
    if (!stream.seek(position) || !readId(stream, id) || !stream.readUInt32(&size)) return false;
    if (!readChunk(stream, id, size, fileSize - position - 8, found)) return false;
    // Exactly size + 8: no pad byte behind an odd size.
    position += int64_t{size} + 8;
  }
  return true;
}

}  // namespace

const AudioFileHandler::Info& WaveFileHandler::info() const {
  static const Info info{{"WAVE"}, {"Wave File", "Broadcast Wave File"}, {"audio/x-wav", "audio/wav"}, {}};
  return info;
}

bool WaveFileHandler::recognize(FStream& stream) const {
  char header[12];
  return stream.readRaw(header, 12) && isId(header, "RIFF") && isId(header + 8, "WAVE");
}

bool WaveFileHandler::readHeader(FStream& stream, AudioFile* file) const {
  std::string path = std::move(file->path);
  *file = AudioFile{};
  file->path = std::move(path);
  stream.setSwap(0);
  const int64_t fileSize = stream.seek(0) ? stream.remaining() : FStream::kUnknown;
  WaveChunks found;
  if (fileSize < 12 || !walkChunks(stream, fileSize, &found)) return false;
  AudioFormat format;
  if (!(found.flags & kDataChunk) || !(found.flags & kFormatChunk) || !formatOf(found.format, &format)) return false;
  file->typeName = "WAVE";
  file->format = format;
  file->dataStart = found.dataStart;
  const int64_t bytes = std::min<int64_t>(found.dataSize, fileSize - found.dataStart);
  file->lengthFrames = bytes / format.blockAlign();
  file->cues = std::move(found.cues);
  file->broadcastAttributes = found.broadcast;
  if (found.format.tag > kTagPcm) {
    auto record = makeRef<CodecAttributes>();
    const FormatChunk& c = found.format;
    record->formatTag = c.tag;
    record->channels = static_cast<int16_t>(c.channels);
    record->sampleRate = c.sampleRate;
    record->averageBytesPerSecond = c.averageBytesPerSecond;
    record->blockAlign = c.blockAlign;
    record->bitsPerSample = c.bitsPerSample;
    record->extraSize = c.extraSize;
    record->extraBytes = c.extraBytes;
    file->codecAttributes = record;
  }
  return true;
}

bool WaveFileHandler::writeHeader(FStream& stream, AudioFile* file) const {
  if (!file->format.isWritable()) return false;
  file->typeName = "WAVE";
  file->bigEndian = false;
  // WAVE keeps no annotation or sampler settings of ours.
  file->annotation.clear();
  file->instrument.reset();
  stream.setSwap(0);
  // 4 for the form type, 8 + 16 for a plain format chunk, 8 for the data
  // chunk's header.
  uint32_t formSize = 36;
  const FormatChunk chunk = formatChunkFor(file);
  uint32_t formatSize = 16;
  if (chunk.tag > kTagPcm) {
    formatSize = 16 + chunk.extraSize + 2;
    formSize += chunk.extraSize + 2u;
  }
  if (file->broadcastAttributes) formSize += 8 + BroadcastAttributes::kChunkSize;
  uint32_t pad = formSize % 4;
  if (pad != 0) {
    pad = 4 - pad;
    formSize += pad + 8;
  }
  if (!writeChunkHeader(stream, "RIFF", formSize) || !writeId(stream, "WAVE")) return false;
  if (pad != 0) {
    const uint8_t zeros[4] = {};
    if (!writeChunkHeader(stream, "Fake", pad) || !stream.writeRaw(zeros, pad)) return false;
  }
  if (!writeFormatChunk(stream, chunk, formatSize)) return false;
  if (file->broadcastAttributes) {
    uint8_t bext[BroadcastAttributes::kChunkSize];
    file->broadcastAttributes->encode(bext);
    if (!writeChunkHeader(stream, "bext", sizeof bext) || !stream.writeRaw(bext, sizeof bext)) return false;
  }
  if (!writeCueChunk(stream, file->cues)) return false;
  file->dataStart = stream.position() + 8;
  return writeChunkHeader(stream, "data", 0);
}

bool WaveFileHandler::finish(FStream& stream, AudioFile* file, int64_t frames) const {
  const int64_t dataBytes = frames * file->format.blockAlign();
  const int64_t end = file->dataStart + dataBytes;
  // The form size field must hold the whole file less 8 bytes.
  if (frames < 0 || end + (dataBytes & 1) - 8 > int64_t{kMaxDataBytes}) return false;
  stream.setSwap(0);
  const uint8_t zero = 0;
  if (!stream.seek(end) || ((dataBytes & 1) != 0 && !stream.writeRaw(&zero, 1))) return false;
  const int64_t fileEnd = end + (dataBytes & 1);
  if (!stream.seek(4) || !stream.writeUInt32(static_cast<uint32_t>(fileEnd - 8))) return false;
  if (!stream.seek(file->dataStart - 4) || !stream.writeUInt32(static_cast<uint32_t>(dataBytes))) return false;
  file->lengthFrames = frames;
  return stream.seek(fileEnd);
}

std::string WaveFileHandler::displayName(const AudioFile& file) const {
  return file.broadcastAttributes ? "Broadcast Wave File" : "Wave File";
}

}  // namespace vantor

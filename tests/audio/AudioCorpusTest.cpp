// Every audio file of the shared corpus (written by other programs, some of
// them damaged on purpose) through our reader: a file that a registered
// handler reads must give the same channels, rate and samples as
// libsndfile gives; every other file must be refused with the system's
// message, and must be one we expect to refuse, listed below with the
// reason.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "audio/AudioTestSupport.h"
#include "audio/files/AudioFileMessages.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;

// Reasons for refusing a file of the corpus.
constexpr const char* kDamaged = "damaged: libsndfile refuses it too";
constexpr const char* kCompressedWave = "WAVE samples neither PCM nor float (a-law, mu-law, ADPCM, MPEG)";
constexpr const char* kCompressedAifc = "AIFC compression type we do not read (alaw, ulaw, fl64, raw )";
constexpr const char* kOtherContainer = "a container we have no handler for (RIFX, NIST)";
constexpr const char* kPaddedOddChunk = "an odd-sized chunk followed by a pad byte: we skip size + 8 only";

// The files we refuse today, by path under corpus/. A file that comes to be
// read (a new handler, a new codec) fails the test until it leaves this
// table; a refused file that is not here fails it too.
const std::map<std::string, const char*> kRefused = {
    {"audio/afsp-mirror/jg00b1ss.wav", kOtherContainer},
    {"audio/buosseph-audio/mono440-u8-odd-bytes.aiff", kCompressedAifc},
    {"audio/go-audio-wav/misaligned-chunk.wav", kPaddedOddChunk},
    {"audio/hound/crash-24728523ef4be15c838293b676f6853e73723bf4.wav", kDamaged},
    {"audio/hound/crash-b8447179832529c48f9c6bf17feab6337bbc78ea.wav", kDamaged},
    {"audio/hound/crash-cbd757427cea12bd8a21f86cd8cf74d98ce56bee.wav", kDamaged},
    {"audio/hound/crash-e5471f5b58397287b509db7d026e95f1724454f5.wav", kDamaged},
    {"audio/hound/crash-e879de4eb4d206c59e21f0e01def16457af80fdc.wav", kDamaged},
    {"audio/hound/oom-48ae4cd061ff8578ad3f23dc87624bd365cf5216.wav", kDamaged},
    {"audio/mcgill-afsp/M1F1-Alaw-AFsp.wav", kCompressedWave},
    {"audio/mcgill-afsp/M1F1-AlawC-AFsp.aif", kCompressedAifc},
    {"audio/mcgill-afsp/M1F1-AlawWE-AFsp.wav", kCompressedWave},
    {"audio/mcgill-afsp/M1F1-float64C-AFsp.aif", kCompressedAifc},
    {"audio/mcgill-afsp/M1F1-mulaw-AFsp.wav", kCompressedWave},
    {"audio/mcgill-afsp/M1F1-mulawC-AFsp.aif", kCompressedAifc},
    {"audio/mcgill-afsp/M1F1-mulawWE-AFsp.wav", kCompressedWave},
    {"audio/rochars-wavefile/4bit-imaadpcm-8kHz-noBext-mono.wav", kCompressedWave},
    {"audio/rochars-wavefile/60315.wav", kCompressedWave},
    {"audio/rochars-wavefile/8bit-alaw-8kHz-noBext-mono-encoded.wav", kCompressedWave},
    {"audio/rochars-wavefile/8bit-mulaw-8kHz-noBext-mono-encoded.wav", kCompressedWave},
    {"audio/rochars-wavefile/RIFX-16bit-mono.wav", kOtherContainer},
    {"audio/rochars-wavefile/ima22m.wav", kCompressedWave},
};

// Files that we read with other samples than libsndfile, on purpose.
const std::map<std::string, const char*> kDifferOnPurpose = {
    // 24-bit samples in 4-byte slots: we read 3-byte containers whatever
    // the block align says.
    {"audio/hound/pcmwaveformat-24bit-4byte-48kHz-stereo.wav", "3-byte containers"},
};

TEST(AudioCorpus, EveryFileReadsAsLibsndfileReadsItOrIsRefusedAsListed) {
  const fs::path root = fs::path(VANTOR_SHARED_DIR) / "corpus";
  if (!fs::is_directory(root / "audio")) GTEST_SKIP() << "no corpus at " << root;
  std::set<std::string> seen;
  for (const auto& entry : fs::recursive_directory_iterator(root / "audio")) {
    if (!entry.is_regular_file()) continue;
    const std::string relative = fs::relative(entry.path(), root).string();
    const std::string path = entry.path().string();
    seen.insert(relative);
    SCOPED_TRACE(relative);
    AudioFileReader reader;
    const bool opened = reader.open(path);
    const auto refusal = kRefused.find(relative);
    if (!opened) {
      EXPECT_EQ(reader.error(), kInvalidAudioFileMessage);
      EXPECT_TRUE(refusal != kRefused.end()) << "refused, and not listed as refused";
      continue;
    }
    reader.close();
    EXPECT_TRUE(refusal == kRefused.end()) << "read now, though listed as refused (" << refusal->second << ")";
    const auto theirs = test::readSndfile(path);
    ASSERT_TRUE(theirs) << "we read a file that libsndfile refuses";
    // Two block sizes: one that divides no file's length, and a large one.
    for (const int64_t block : {997, 65536}) {
      const auto ours = test::readOurs(path, block);
      ASSERT_TRUE(ours) << "a read failed after the header was accepted";
      EXPECT_EQ(ours->channels, theirs->channels);
      EXPECT_EQ(ours->rate, theirs->rate);
      if (kDifferOnPurpose.count(relative) != 0) continue;
      ASSERT_EQ(ours->samples.size(), theirs->samples.size());
      EXPECT_TRUE(ours->samples == theirs->samples) << "samples differ at block size " << block;
    }
  }
  // The table names only files that exist, so a renamed corpus file shows.
  for (const auto& [file, reason] : kRefused) EXPECT_EQ(seen.count(file), 1u) << file << " is not in the corpus";
}

}  // namespace
}  // namespace vantor

// The handler registry and the format descriptions.

#include "audio/files/AudioFileHandler.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "audio/AudioInit.h"
#include "audio/AudioTestSupport.h"
#include "audio/files/AudioFileMessages.h"
#include "audio/files/BroadcastAttributes.h"
#include "foundation/FAttributes.h"
#include "foundation/FClassRegistry.h"
#include "foundation/FMemoryStream.h"

namespace vantor {
namespace {

TEST(AudioFileHandlers, RecognizeByContainerAndFormType) {
  struct Case {
    std::string header;
    const char* typeName;  // of the handler expected, or nullptr
  };
  const Case cases[] = {{std::string("RIFF\0\0\0\0WAVE", 12), "WAVE"},  {std::string("FORM\0\0\0\0AIFF", 12), "AIFF"},
                        {std::string("FORM\0\0\0\0AIFC", 12), "AIFF"},  {std::string("RIFF\0\0\0\0AVI ", 12), nullptr},
                        {std::string("FORM\0\0\0\08SVX", 12), nullptr}, {std::string("RIFF", 4), nullptr}};
  for (const Case& c : cases) {
    FMemoryStream stream(c.header.data(), static_cast<int64_t>(c.header.size()));
    const AudioFileHandler* handler = AudioFileHandlers::recognize(stream);
    if (c.typeName == nullptr) {
      EXPECT_EQ(handler, nullptr) << c.header;
    } else {
      ASSERT_NE(handler, nullptr) << c.header;
      EXPECT_EQ(handler, AudioFileHandlers::byTypeName(c.typeName));
    }
  }
  EXPECT_EQ(AudioFileHandlers::byTypeName("AIFC"), AudioFileHandlers::byTypeName("AIFF"));
  // The decoders' identifiers; an ID3 tag (10 bytes, here of size 4) is
  // looked behind, to FLAC or to an MPEG layer III frame header.
  const std::string id3 = std::string("ID3\3\0\0\0\0\0\4", 10) + std::string(4, '\0');
  const Case decoded[] = {{"fLaC\0\0\0\x22", "FLAC"},
                          {"OggS\0\2", "OPUS"},
                          {"\xFF\xFB\x90\x64", "MP3"},
                          {id3 + "fLaC", "FLAC"},
                          {id3 + "\xFF\xFB\x90\x64", "MP3"},
                          {id3 + "RIFF", nullptr},
                          {"\xFF\xFD\x90\x64", nullptr},  // layer I
                          {".snd\0\0\0\x18", "AU"},
                          {"caff\0\1\0\0", "CAF"},
                          {"RF64\xFF\xFF\xFF\xFFWAVE", "RF64"}};
  for (const Case& c : decoded) {
    FMemoryStream stream(c.header.data(), static_cast<int64_t>(c.header.size()));
    EXPECT_EQ(AudioFileHandlers::recognize(stream), c.typeName ? AudioFileHandlers::byTypeName(c.typeName) : nullptr)
        << c.header;
  }
  EXPECT_EQ(AudioFileHandlers::byTypeName("SD2"), nullptr);
}

TEST(AudioFileHandlers, DescribeFormatsAndKinds) {
  AudioFormat format;
  format.sampleRate = 44100;
  format.bitsPerSample = 24;
  EXPECT_EQ(formatLine(format), "44.100 kHz   24 bits   PCM   Stereo");
  EXPECT_EQ(shortFormatLine(format), "44.100 kHz - 24 bits - ");
  format.sampleRate = 11025;
  format.channels = 6;
  format.sampleType = SampleType::kFloat;
  format.bitsPerSample = 32;
  EXPECT_EQ(formatLine(format), "11.025 kHz   32 bits   Float   6 Channels");
  format.sampleRate = 8000;
  format.channels = 1;
  EXPECT_EQ(formatLine(format), "8.000 kHz   32 bits   Float   Mono");
  EXPECT_EQ(shortFormatLine(format), "8.000 kHz - 32 bits - ");
  EXPECT_EQ(rexFormatLine(120), "REX - 120.00 bpm");
  EXPECT_EQ(rexFormatLine(95.126), "REX - 95.13 bpm");  // two decimals, rounded
  EXPECT_EQ(rexFormatLine(9.5), "REX - 9.50 bpm");

  AudioFile file;
  const AudioFileHandler* wave = AudioFileHandlers::byTypeName("WAVE");
  EXPECT_EQ(wave->displayName(file), "Wave File");
  file.broadcastAttributes = makeRef<BroadcastAttributes>();
  EXPECT_EQ(wave->displayName(file), "Broadcast Wave File");
  file.typeName = "AIFC";
  EXPECT_EQ(AudioFileHandlers::byTypeName("AIFC")->displayName(file), "AIFC File");
}

TEST(AudioFileHandlers, AttributeRecordsAreCreatedByNameAndKeepTheirKeys) {
  initializeAudio();
  auto created = FClassRegistry::instance().create("BroadcastAttributes");
  ASSERT_TRUE(created);
  auto* broadcast = dynamic_cast<BroadcastAttributes*>(created.get());
  ASSERT_NE(broadcast, nullptr);
  broadcast->description = "Intro";
  broadcast->author = "Someone";
  broadcast->reference = "R1";
  FAttributes attributes;
  ASSERT_TRUE(broadcast->storeAttributes(attributes));
  EXPECT_EQ(attributes.keys(), (std::vector<std::string>{"Description", "Author", "Reference"}));
  BroadcastAttributes restored;
  ASSERT_TRUE(restored.restoreAttributes(attributes));
  EXPECT_EQ(restored.author, "Someone");

  auto codec = FClassRegistry::instance().create("CodecAttributes");
  ASSERT_TRUE(codec);
}

TEST(AudioFileWriter, RefusesToReplaceAWriteProtectedFile) {
  test::TempDir dir;
  const std::string path = dir.file("locked.wav");
  test::writeBytes(path, {1, 2, 3});
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  AudioFileWriter writer;
  EXPECT_FALSE(writer.open(path, test::makeFile("WAVE", 44100, 1, 16, SampleType::kInteger)));
  EXPECT_EQ(writer.error(), kWriteProtectedMessage);
  EXPECT_EQ(test::readBytes(path), (test::Bytes{1, 2, 3}));
  AudioFileReader reader;
  EXPECT_FALSE(reader.open(path));
  EXPECT_EQ(reader.error(), kInvalidAudioFileMessage);
}

}  // namespace
}  // namespace vantor

// `vantor convert` between containers and sample widths, read back through
// the audio reader.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <sstream>
#include <string>
#include <vector>

#include "CliTestSupport.h"
#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"
#include "cli/ConvertCommand.h"

namespace vantor {
namespace {

using test::runVantor;
using test::slurp;
using test::TempFolder;

std::vector<float> readAll(const std::string& path, AudioFile* file) {
  AudioFileReader reader;
  EXPECT_TRUE(reader.open(path)) << path;
  *file = reader.file();
  std::vector<float> samples(static_cast<size_t>(file->lengthFrames * file->format.channels));
  EXPECT_EQ(reader.readFrames(samples.data(), file->lengthFrames), file->lengthFrames);
  return samples;
}

TEST(CliConvert, ChangesContainerAndWidthKeepingSamplesAndCues) {
  TempFolder dir;
  const std::string source = (dir / "source.wav").string();
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = 48000;
  file.format.channels = 2;
  file.format.bitsPerSample = 24;
  file.cues = {{100, 200}};
  // Multiples of 2^-15: 16 bits hold them exactly.
  std::vector<float> signal;
  for (int i = 0; i < 2 * 5000; ++i) signal.push_back(static_cast<float>((i * 37) % 65536 - 32768) / 32768.0f);
  AudioFileWriter writer;
  ASSERT_TRUE(writer.open(source, file) && writer.writeFrames(signal.data(), 5000) && writer.close());

  struct Case {
    std::vector<std::string> args;
    const char* typeName;
    int bits;
    SampleType type;
  };
  const Case cases[] = {
      {{"out.aiff", "--bits", "16"}, "AIFF", 16, SampleType::kInteger},
      {{"out.aifc"}, "AIFC", 24, SampleType::kInteger},
      {{"out.bin", "--format", "aifc", "--bits", "32f"}, "AIFC", 32, SampleType::kFloat},
      {{"out.wav", "--bits", "32f"}, "WAVE", 32, SampleType::kFloat},
      {{"out.sd2", "--bits", "16"}, "SDII", 16, SampleType::kInteger},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args = {"convert", source, (dir / c.args[0]).string()};
    args.insert(args.end(), c.args.begin() + 1, c.args.end());
    const auto result = runVantor(args);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find("48.000 kHz"), std::string::npos) << result.out;
    AudioFile converted;
    EXPECT_EQ(readAll((dir / c.args[0]).string(), &converted), signal) << c.args[0];
    EXPECT_EQ(converted.typeName, c.typeName);
    EXPECT_EQ(converted.format.bitsPerSample, c.bits);
    EXPECT_EQ(converted.format.sampleType, c.type);
    // SDII holds no markers, and says so.
    if (converted.typeName == "SDII") {
      EXPECT_TRUE(converted.cues.empty());
      EXPECT_NE(result.out.find("Sound Designer II File"), std::string::npos) << result.out;
    } else {
      EXPECT_EQ(converted.cues.front(), (CueEntry{100, 200}));
    }
  }
}

TEST(CliConvert, ChangesTheRateAndPrintsJson) {
  TempFolder dir;
  const std::string source = (dir / "source.aiff").string();
  AudioFile file;
  file.typeName = "AIFF";
  file.format.sampleRate = 44100;
  file.format.channels = 1;
  file.cues = {{441, 882}};
  std::vector<float> signal(4410, 0.25f);
  AudioFileWriter writer;
  ASSERT_TRUE(writer.open(source, file) && writer.writeFrames(signal.data(), 4410) && writer.close());
  const auto result =
      runVantor({"convert", source, (dir / "out.wav").string(), "--rate", "48000", "--bits", "24", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  // 4410 frames are 0.1 s: 4800 frames at 48 kHz; the cues scale alike.
  EXPECT_EQ(json["frames"], 4800);
  EXPECT_EQ(json["sampleRate"], 48000.0);
  EXPECT_EQ(json["bits"], 24);
  EXPECT_EQ(json["type"], "WAVE");
  EXPECT_EQ(json["kind"], "Wave File");
  EXPECT_EQ(json["cues"], nlohmann::json::parse("[[480, 960]]"));
  AudioFile converted;
  const std::vector<float> samples = readAll((dir / "out.wav").string(), &converted);
  EXPECT_EQ(converted.lengthFrames, 4800);
  EXPECT_NEAR(samples[2400], 0.25f, 1e-4f);
  for (const char* bad : {"0", "-48000", "nan", "800000", "fast"}) {
    EXPECT_EQ(runVantor({"convert", source, (dir / "bad.wav").string(), "--rate", bad}).status, 2) << bad;
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "bad.wav"));
}

TEST(CliConvert, RefusesBadFilesAndBadOptions) {
  TempFolder dir;
  const std::string junk = (dir / "junk.wav").string();
  std::ofstream(junk) << "RIFF not really a wave file";
  const auto invalid = runVantor({"convert", junk, (dir / "out.wav").string()});
  EXPECT_EQ(invalid.status, 1);
  EXPECT_NE(invalid.err.find("Error: Invalid or unsupported file!"), std::string::npos) << invalid.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "out.wav"));

  EXPECT_EQ(runVantor({"convert", junk, (dir / "out.wav").string(), "--bits", "12"}).status, 2);
  EXPECT_EQ(runVantor({"convert", junk}).status, 2);
  const auto help = runVantor({"convert", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("--format"), std::string::npos);
}

int convertTyping(const std::vector<std::string>& args, const std::string& typed, std::string* err) {
  std::vector<std::string> words{"convert"};
  words.insert(words.end(), args.begin(), args.end());
  return test::runVantorTyping(words, typed, err);
}

TEST(CliConvert, AWriteProtectedFileIsReplacedOnlyWhenSoAnswered) {
  TempFolder dir;
  const std::string source = (dir / "source.wav").string();
  const std::string target = (dir / "target.wav").string();
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = 8000;
  file.format.channels = 1;
  const std::vector<float> signal(100, 0.25f);
  AudioFileWriter writer;
  ASSERT_TRUE(writer.open(source, file) && writer.writeFrames(signal.data(), 100) && writer.close());
  ASSERT_TRUE(writer.open(target, file) && writer.writeFrames(signal.data(), 10) && writer.close());
  ASSERT_EQ(::chmod(target.c_str(), 0444), 0);
  const std::string before = slurp(target);
  const std::string question = "The file is write protected! Do you want to replace it anyway?\n";

  // A script, --yes or not, keeps the file.
  const auto script = runVantor({"-y", "convert", source, target});
  EXPECT_EQ(script.status, 1);
  EXPECT_EQ(script.err, question + "(answered: Cancel)\n");
  EXPECT_EQ(slurp(target), before);

  std::string err;
  EXPECT_EQ(convertTyping({source, target}, "Cancel\n", &err), 1);
  EXPECT_EQ(err, question + "  1) Replace\n  2) Cancel (default)\nanswer: ");
  EXPECT_EQ(slurp(target), before);

  EXPECT_EQ(convertTyping({source, target}, "Replace\n", &err), 0);
  AudioFile written;
  EXPECT_EQ(readAll(target, &written), signal);
  struct stat info {};
  ASSERT_EQ(::stat(target.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0444u);  // still write protected

  // The writer alone refuses it.
  ASSERT_FALSE(writer.open(target, file));
  EXPECT_EQ(writer.error(), "The file is write protected and cannot be replaced!");
}

}  // namespace
}  // namespace vantor

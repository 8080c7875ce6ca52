#include "cli/ConvertCommand.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"

namespace vantor::cli {

namespace {

struct Options {
  std::string input;
  std::string output;
  std::string format;  // "wav", "aiff", "aifc", or empty: from OUT's extension
  std::string bits;    // "16", "24", "32f", or empty: the input's
};

// The container for OUT: --format, else OUT's extension, else WAVE.
std::string typeNameFor(const Options& options) {
  std::string key = options.format;
  if (key.empty()) {
    key = std::filesystem::path(options.output).extension().string();
    if (!key.empty()) key.erase(0, 1);
    std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return std::tolower(c); });
  }
  if (key == "aiff" || key == "aif") return "AIFF";
  if (key == "aifc") return "AIFC";
  return "WAVE";
}

// The output's sample width: --bits, else the input's where the container
// can hold it, else 32-bit float.
void chooseWidth(const Options& options, AudioFile* target) {
  AudioFormat& format = target->format;
  if (options.bits == "32f") {
    format.sampleType = SampleType::kFloat;
    format.bitsPerSample = 32;
  } else if (!options.bits.empty()) {
    format.sampleType = SampleType::kInteger;
    format.bitsPerSample = static_cast<int16_t>(std::stoi(options.bits));
  } else if (target->typeName != "WAVE" && format.sampleType == SampleType::kFloat) {
    format.bitsPerSample = 32;
  }
}

int runConvert(CliContext& context, const Options& options) {
  AudioFileReader reader;
  if (!reader.open(options.input)) {
    context.err << "\"" << options.input << "\": " << reader.error() << "\n";
    return kExitDataError;
  }
  AudioFile target = reader.file();
  target.typeName = typeNameFor(options);
  chooseWidth(options, &target);
  AudioFileWriter writer;
  if (!writer.open(options.output, target)) {
    context.err << "\"" << options.output << "\": " << writer.error() << "\n";
    return kExitDataError;
  }
  const int64_t blockFrames = std::max<int64_t>(1, (int64_t{1} << 16) / target.format.channels);
  std::vector<float> block(static_cast<size_t>(blockFrames * target.format.channels));
  for (int64_t got; (got = reader.readFrames(block.data(), blockFrames)) != 0;) {
    if (got < 0) {
      context.err << "\"" << options.input << "\": the file could not be read to its end\n";
      return kExitDataError;
    }
    if (!writer.writeFrames(block.data(), got)) break;
  }
  if (!writer.error().empty() || !writer.close()) {
    context.err << "\"" << options.output << "\": " << writer.error() << "\n";
    return kExitDataError;
  }
  const AudioFile& written = writer.file();
  context.out << options.output << ": " << AudioFileHandlers::byTypeName(written.typeName)->displayName(written) << ", "
              << formatLine(written.format) << ", " << written.lengthFrames << " frames\n";
  return kExitOk;
}

}  // namespace

void addConvertCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* convert = app.add_subcommand("convert", "Copy an audio file into another container or sample width");
  auto options = std::make_shared<Options>();
  convert->add_option("IN", options->input, "Audio file to read (WAVE, AIFF, AIFC)")->required();
  convert->add_option("OUT", options->output, "Audio file to write; replaced when it exists")->required();
  convert->add_option("--format", options->format, "Container: wav, aiff or aifc (default: from OUT's extension)")
      ->check(CLI::IsMember({"wav", "aiff", "aifc"}));
  convert->add_option("--bits", options->bits, "Sample width: 16, 24 or 32f (default: the input's)")
      ->check(CLI::IsMember({"16", "24", "32f"}));
  convert->callback([&context, exitCode, options] { *exitCode = runConvert(context, *options); });
}

}  // namespace vantor::cli

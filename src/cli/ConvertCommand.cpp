#include "cli/ConvertCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>

#include "audio/files/AudioFileConverter.h"
#include "audio/files/AudioFileHandler.h"
#include "audio/files/AudioFileMessages.h"
#include "audio/files/AudioFileWriter.h"

namespace vantor::cli {

namespace {

struct Options {
  std::string input;
  std::string output;
  std::string format;  // "wav", "aiff", "aifc", "sd2", or empty: from OUT's extension
  std::string bits;    // "16", "24", "32f", or empty: the input's
  double rate = 0.0;   // Hz, 0: the input's
  bool noDither = false;
  bool json = false;
};

// Files of more frames than this show their progress on a terminal.
constexpr int64_t kProgressFrames = int64_t{48000} * 60;

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
  if (key == "sd2") return "SDII";
  return "WAVE";
}

SampleWidth widthFor(const std::string& bits) {
  if (bits == "16") return SampleWidth::kInteger16;
  if (bits == "24") return SampleWidth::kInteger24;
  if (bits == "32f") return SampleWidth::kFloat32;
  return SampleWidth::kSource;
}

// "\rConverting 42%" on stderr when it is a terminal and the file is long.
AudioFileConverter::Progress progressFor(std::ostream& err) {
  if (!stderrIsTerminal()) return {};
  auto shown = std::make_shared<int>(-1);
  return [&err, shown](int64_t done, int64_t total) {
    if (total < kProgressFrames) return true;
    const int percent = static_cast<int>(done * 100 / std::max<int64_t>(1, total));
    if (percent != *shown) err << "\rConverting " << percent << "%" << (percent == 100 ? "\n" : "") << std::flush;
    *shown = percent;
    return true;
  };
}

void printResult(CliContext& context, const std::string& path, const AudioFile& written, bool json) {
  const AudioFileHandler* handler = AudioFileHandlers::byTypeName(written.typeName);
  const std::string kind = handler != nullptr ? handler->displayName(written) : written.typeName;
  if (!json) {
    context.out << path << ": " << kind << ", " << formatLine(written.format) << ", " << written.lengthFrames
                << " frames\n";
    return;
  }
  nlohmann::json cues = nlohmann::json::array();
  for (const CueEntry& cue : written.cues) cues.push_back({cue.first, cue.second});
  printJson(context.out, {{"path", path},
                          {"type", written.typeName},
                          {"kind", kind},
                          {"sampleRate", written.format.sampleRate},
                          {"channels", written.format.channels},
                          {"bits", written.format.bitsPerSample},
                          {"sampleType", written.format.sampleType == SampleType::kFloat ? "float" : "integer"},
                          {"frames", written.lengthFrames},
                          {"cues", cues}});
}

// Whether the user answers "Replace" for a write-protected OUT (a script,
// even with --yes, takes "Cancel").
bool replaceAnyway(CliContext& context) {
  return context.messages.ask(kReplaceProtectedQuestion, {kReplaceProtectedChoice, kCancelReplaceChoice}, 1) == 0;
}

int runConvert(CliContext& context, const Options& options) {
  const bool writeProtected = AudioFileWriter::isWriteProtected(options.output);
  if (writeProtected && !replaceAnyway(context)) return kExitDataError;
  AudioConversion conversion;
  conversion.replaceProtected = writeProtected;
  conversion.typeName = typeNameFor(options);
  conversion.width = widthFor(options.bits);
  conversion.sampleRate = options.rate;
  conversion.dither = !options.noDither;
  AudioFileConverter converter;
  if (!converter.convert(options.input, options.output, conversion, progressFor(context.err))) {
    context.err << "\"" << converter.errorPath() << "\": " << converter.error() << "\n";
    return kExitDataError;
  }
  printResult(context, options.output, converter.result(), options.json);
  return kExitOk;
}

}  // namespace

void addConvertCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* convert = app.add_subcommand("convert", "Copy an audio file into another container, sample width or rate");
  auto options = std::make_shared<Options>();
  convert->add_option("IN", options->input, "Audio file to read (WAVE, AIFF, AIFC, SDII, FLAC, Ogg, MP3, ...)")
      ->required();
  convert
      ->add_option("OUT", options->output,
                   "Audio file to write; replaced when it exists (a write-protected one only when so answered)")
      ->required();
  convert->add_option("--format", options->format, "Container: wav, aiff, aifc or sd2 (default: from OUT's extension)")
      ->check(CLI::IsMember({"wav", "aiff", "aifc", "sd2"}));
  convert->add_option("--bits", options->bits, "Sample width: 16, 24 or 32f (default: the input's)")
      ->check(CLI::IsMember({"16", "24", "32f"}));
  // CLI::Range lets NaN through; a rate is a plain positive number of Hz.
  convert->add_option("--rate", options->rate, "Sample rate in Hz, 1000 to 768000 (default: the input's)")
      ->check(CLI::Validator(
          [](std::string& text) -> std::string {
            double value = 0.0;
            if (CLI::detail::lexical_cast(text, value) && value >= 1000.0 && value <= 768000.0) return {};
            return "Value " + text + " not in range [1000 - 768000]";
          },
          "[1000 - 768000]"));
  convert->add_flag("--no-dither", options->noDither, "Round to 16 bits without dither");
  convert->add_flag("--json", options->json, "Print the file written as JSON");
  convert->callback([&context, exitCode, options] { *exitCode = runConvert(context, *options); });
}

}  // namespace vantor::cli

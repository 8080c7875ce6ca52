#include "audio/files/AudioFileConverter.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "audio/files/AudioFileHandler.h"
#include "audio/files/AudioFileMessages.h"
#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"
#include "audio/files/AudioResampler.h"
#include "audio/files/TriangularDither.h"

namespace vantor {

namespace {

// Beyond this ratio either way a conversion is far more likely a mistyped
// rate than a wish (8 kHz to 768 kHz is 96).
constexpr double kMaxRatio = 256.0;
// Sample bytes a 32-bit size field holds, less room for any header.
constexpr int64_t kMaxDataBytes = 0xFFFFFFFFLL - 0x10000;

// Precision of a format's samples in bits: float counts as more than any
// integer result.
int precisionOf(const AudioFormat& format) {
  return format.sampleType == SampleType::kFloat ? 64 : format.bitsPerSample;
}

void applyWidth(SampleWidth width, AudioFormat* format) {
  switch (width) {
    case SampleWidth::kSource:
      return;
    case SampleWidth::kInteger16:
    case SampleWidth::kInteger24:
      format->sampleType = SampleType::kInteger;
      format->bitsPerSample = width == SampleWidth::kInteger16 ? 16 : 24;
      return;
    case SampleWidth::kFloat32:
      format->sampleType = SampleType::kFloat;
      format->bitsPerSample = 32;
      return;
  }
}

int32_t scaledPosition(int32_t position, double ratio) {
  const double scaled = std::round(static_cast<double>(position) * ratio);
  return static_cast<int32_t>(std::clamp(scaled, -2147483648.0, 2147483647.0));
}

// One conversion's moving parts: the source, the resampler when the rate
// changes, the dither when precision is lost, and the writer.
struct Pipeline {
  AudioFileReader reader;
  AudioFileWriter writer;
  AudioResampler resampler;
  bool resampling = false;
  std::optional<TriangularDither> dither;
  int channels = 1;
  int64_t expectedFrames = 0;  // the target's length
  int64_t writtenFrames = 0;
  std::vector<float> input;
  std::vector<float> output;

  // Dithers and writes output, no further than the target's length.
  bool writeOutput() {
    const int64_t frames =
        std::min<int64_t>(static_cast<int64_t>(output.size()) / channels, expectedFrames - writtenFrames);
    if (frames > 0) {
      if (dither) dither->apply(output.data(), static_cast<size_t>(frames * channels));
      if (!writer.writeFrames(output.data(), frames)) return false;
      writtenFrames += frames;
    }
    output.clear();
    return true;
  }
};

}  // namespace

AudioFile AudioFileConverter::targetFor(const AudioFile& source, const AudioConversion& conversion) {
  AudioFile target;
  const AudioFileHandler* own = AudioFileHandlers::byTypeName(source.typeName);
  target.typeName = !conversion.typeName.empty() ? conversion.typeName
                                                 : (own != nullptr && own->canWrite() ? source.typeName : "WAVE");
  target.format = source.format;
  applyWidth(conversion.width, &target.format);
  // AIFC stores float only as 32 bits; 64-bit float narrows there. SDII
  // holds integers only: float becomes 24 bits, as finely as it can.
  if (target.typeName == "SDII" && target.format.sampleType == SampleType::kFloat) {
    applyWidth(SampleWidth::kInteger24, &target.format);
  } else if (target.typeName != "WAVE" && target.format.sampleType == SampleType::kFloat) {
    target.format.bitsPerSample = 32;
  }
  const double ratio = conversion.sampleRate > 0 ? conversion.sampleRate / source.format.sampleRate : 1.0;
  if (conversion.sampleRate > 0) target.format.sampleRate = static_cast<float>(conversion.sampleRate);
  for (const CueEntry& cue : source.cues) {
    target.cues.push_back({scaledPosition(cue.first, ratio), scaledPosition(cue.second, ratio)});
  }
  target.broadcastAttributes = source.broadcastAttributes;
  target.annotation = source.annotation;
  target.instrument = source.instrument;
  return target;
}

bool AudioFileConverter::fail(const std::string& path, const std::string& message) {
  error_ = message;
  errorPath_ = path;
  result_ = AudioFile{};
  return false;
}

bool AudioFileConverter::convert(const std::string& sourcePath, const std::string& targetPath,
                                 const AudioConversion& conversion, const Progress& progress) {
  error_.clear();
  errorPath_.clear();
  Pipeline p;
  if (!p.reader.open(sourcePath)) return fail(sourcePath, p.reader.error());
  const AudioFile& source = p.reader.file();
  const AudioFile target = targetFor(source, conversion);
  const double ratio = static_cast<double>(target.format.sampleRate) / source.format.sampleRate;
  if (!(ratio <= kMaxRatio && ratio >= 1.0 / kMaxRatio)) return fail(targetPath, kUnsupportedRateMessage);
  p.channels = source.format.channels;
  p.resampling = target.format.sampleRate != source.format.sampleRate;
  p.expectedFrames = std::llround(static_cast<double>(source.lengthFrames) * ratio);
  const bool lossy = p.resampling || precisionOf(source.format) > precisionOf(target.format);
  if (conversion.dither && lossy && target.format.sampleType == SampleType::kInteger &&
      target.format.bitsPerSample <= 16) {
    p.dither.emplace(target.format.bitsPerSample);
  }
  if (p.resampling && !p.resampler.open(source.format.sampleRate, target.format.sampleRate, p.channels,
                                        precisionOf(target.format) > 16)) {
    return fail(targetPath, p.resampler.error());
  }
  // Refused before writing what the container's size fields cannot hold.
  if (p.expectedFrames * target.format.blockAlign() > kMaxDataBytes) return fail(targetPath, kFileTooLargeMessage);
  p.writer.setReplaceProtected(conversion.replaceProtected);
  if (!p.writer.open(targetPath, target)) return fail(targetPath, p.writer.error());
  p.input.resize(static_cast<size_t>(kBlockFrames * p.channels));
  int64_t done = 0;
  for (;;) {
    const int64_t got = p.reader.readFrames(p.input.data(), kBlockFrames);
    if (got < 0) return fail(sourcePath, kUnreadableAudioFileMessage);
    if (got == 0) break;
    done += got;
    if (p.resampling) {
      if (!p.resampler.process(p.input.data(), got, &p.output)) return fail(targetPath, p.resampler.error());
    } else {
      p.output.assign(p.input.begin(), p.input.begin() + got * p.channels);
    }
    if (!p.writeOutput()) return fail(targetPath, p.writer.error());
    if (progress && !progress(done, source.lengthFrames)) return fail(targetPath, kConversionCancelledMessage);
  }
  // A decoder's header may promise more frames than its stream holds; the
  // length is not made up with silence.
  if (done < source.lengthFrames) return fail(sourcePath, kUnreadableAudioFileMessage);
  if (p.resampling && !p.resampler.flush(&p.output)) return fail(targetPath, p.resampler.error());
  if (!p.writeOutput()) return fail(targetPath, p.writer.error());
  // The filter may end a few frames short of the exact length: silence fills them.
  p.output.assign(static_cast<size_t>((p.expectedFrames - p.writtenFrames) * p.channels), 0.0f);
  if (!p.writeOutput() || !p.writer.close()) return fail(targetPath, p.writer.error());
  result_ = p.writer.file();
  return true;
}

}  // namespace vantor

// Feeds arbitrary bytes to the WAVE and AIFF/AIFC header readers. What a
// reader accepts must lie inside the input; its samples are decoded, and
// where the format can be written the file is written back (header, the
// same samples, finish) and read again: the same format, length and
// samples must come back (write-back check).

#include <cstddef>
#include <cstdint>
#include <vector>

#include "audio/files/AudioFileHandler.h"
#include "audio/files/SampleCodec.h"
#include "foundation/FMemoryStream.h"

namespace {

using namespace vantor;

std::vector<float> decodeAll(const uint8_t* data, const AudioFile& file) {
  const size_t count = static_cast<size_t>(file.lengthFrames) * static_cast<size_t>(file.format.channels);
  std::vector<float> samples(count);
  decodeSamples(data + file.dataStart, samples.data(), count, file.encoding());
  return samples;
}

void writeBack(const AudioFileHandler& handler, const AudioFile& first, const std::vector<float>& samples) {
  AudioFile copy = first;
  FMemoryStream out;
  if (!handler.writeHeader(out, &copy)) return;
  std::vector<uint8_t> bytes(samples.size() * static_cast<size_t>(copy.format.bytesPerSample()));
  encodeSamples(samples.data(), bytes.data(), samples.size(), copy.encoding());
  if (!out.writeRaw(bytes.data(), static_cast<int64_t>(bytes.size()))) __builtin_trap();
  if (!handler.finish(out, &copy, first.lengthFrames)) return;
  FMemoryStream in(out.data());
  AudioFile second;
  if (!handler.readHeader(in, &second)) __builtin_trap();
  if (!(second.format == first.format) || second.lengthFrames != first.lengthFrames) __builtin_trap();
  // Float payloads of NaN need not survive a conversion; integers must.
  if (first.format.sampleType == SampleType::kInteger && decodeAll(out.data().data(), second) != samples) {
    __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  for (const AudioFileHandler* handler : AudioFileHandlers::all()) {
    // Decoded formats are libsndfile's to parse; SDII is fuzzed through its
    // companion (fuzz_sdii_companion).
    if (handler->decodesSamples()) continue;
    FMemoryStream stream(data, static_cast<int64_t>(size));
    if (!handler->recognize(stream)) continue;
    AudioFile file;
    if (!handler->readHeader(stream, &file)) continue;
    const int64_t end = file.dataStart + file.lengthFrames * file.format.blockAlign();
    if (file.dataStart < 0 || file.lengthFrames < 0 || end > static_cast<int64_t>(size)) __builtin_trap();
    if (!isSupportedEncoding(file.encoding())) __builtin_trap();
    writeBack(*handler, file, decodeAll(data, file));
  }
  return 0;
}

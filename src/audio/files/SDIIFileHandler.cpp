#include "audio/files/SDIIFileHandler.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "audio/files/AppleDouble.h"
#include "audio/files/AudioFileMessages.h"
#include "audio/files/ResourceFork.h"

namespace vantor {

namespace {

constexpr uint32_t kStringType = 0x53545220;  // 'STR '
constexpr uint32_t kFileType = 0x53643266;    // 'Sd2f'
constexpr uint32_t kCreator = 0x53643261;     // 'Sd2a'
constexpr int16_t kSampleSizeId = 1000;
constexpr int16_t kSampleRateId = 1001;
constexpr int16_t kChannelsId = 1002;

// The number in a string resource found by name, else by id.
std::optional<double> numberIn(const ResourceFork& fork, const char* name, int16_t id) {
  const Resource* resource = fork.find(kStringType, std::string(name));
  if (resource == nullptr) resource = fork.find(kStringType, id);
  if (resource == nullptr) return std::nullopt;
  const std::optional<std::string> text = textOfPascalString(resource->data);
  if (!text) return std::nullopt;
  double value = 0;
  const char* end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, value);
  if (error != std::errc() || stop == text->data()) return std::nullopt;
  return value;
}

// The companion's bytes; nullopt when it is missing, unreadable or too large.
std::optional<std::vector<uint8_t>> readCompanion(const std::string& path) {
  std::ifstream in(AppleDouble::companionPath(path), std::ios::binary);
  if (!in) return std::nullopt;
  std::vector<uint8_t> bytes(static_cast<size_t>(SDIIFileHandler::kMaxCompanionBytes) + 1);
  in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  const auto got = static_cast<size_t>(in.gcount());
  if (in.bad() || got > static_cast<size_t>(SDIIFileHandler::kMaxCompanionBytes)) return std::nullopt;
  bytes.resize(got);
  return bytes;
}

bool hasSd2Extension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return std::tolower(c); });
  return extension == ".sd2";
}

}  // namespace

std::optional<AudioFormat> SDIIFileHandler::parseCompanion(const uint8_t* bytes, size_t size) {
  std::optional<ResourceFork> fork;
  if (const std::optional<AppleDouble> apple = AppleDouble::parse(bytes, size)) {
    fork = ResourceFork::parse(apple->resourceFork.data(), apple->resourceFork.size());
  } else {
    fork = ResourceFork::parse(bytes, size);
  }
  if (!fork) return std::nullopt;
  const auto sampleSize = numberIn(*fork, "sample-size", kSampleSizeId);
  const auto rate = numberIn(*fork, "sample-rate", kSampleRateId);
  const auto channels = numberIn(*fork, "channels", kChannelsId);
  if (!sampleSize || !rate || !channels) return std::nullopt;
  // Bytes as written; a value of 8 or more is taken as bits.
  const double bytesPerSample = *sampleSize >= 8 ? *sampleSize / 8 : *sampleSize;
  if (bytesPerSample != 1 && bytesPerSample != 2 && bytesPerSample != 3 && bytesPerSample != 4) return std::nullopt;
  if (!(*rate >= 1.0 && *rate <= 4.0e9) || !(*channels >= 1 && *channels <= 0x7FFF) ||
      *channels != static_cast<int>(*channels)) {
    return std::nullopt;
  }
  AudioFormat format;
  format.sampleRate = static_cast<float>(*rate);
  format.channels = static_cast<int16_t>(*channels);
  format.bitsPerSample = static_cast<int16_t>(bytesPerSample * 8);
  format.sampleType = SampleType::kInteger;
  if (format.blockAlign() > 0xFFFF) return std::nullopt;
  return format;
}

const AudioFileHandler::Info& SDIIFileHandler::info() const {
  static const Info info{{"SDII"}, {"Sound Designer II File"}, {"audio/x-sd2"}, {"sd2"}};
  return info;
}

bool SDIIFileHandler::recognize(FStream&) const { return false; }

bool SDIIFileHandler::recognizeFile(FStream&, const std::string& path) const {
  if (hasSd2Extension(path)) return true;
  struct stat companion {};
  if (::stat(AppleDouble::companionPath(path).c_str(), &companion) != 0) return false;
  const auto bytes = readCompanion(path);
  return bytes && parseCompanion(bytes->data(), bytes->size()).has_value();
}

std::string SDIIFileHandler::refusal(const std::string& path) const {
  struct stat companion {};
  if (::stat(AppleDouble::companionPath(path).c_str(), &companion) == 0) return kInvalidAudioFileMessage;
  const std::string name = std::filesystem::path(AppleDouble::companionPath(path)).filename().string();
  char text[512];
  std::snprintf(text, sizeof text, kMissingResourcePartMessage, name.c_str());
  return text;
}

bool SDIIFileHandler::readHeader(FStream& stream, AudioFile* file) const {
  std::string path = std::move(file->path);
  *file = AudioFile{};
  file->path = std::move(path);
  const auto bytes = readCompanion(file->path);
  const std::optional<AudioFormat> format = bytes ? parseCompanion(bytes->data(), bytes->size()) : std::nullopt;
  const int64_t size = stream.seek(0) ? stream.remaining() : FStream::kUnknown;
  if (!format || size < 0) return false;
  file->typeName = "SDII";
  file->format = *format;
  file->bigEndian = true;
  file->dataStart = 0;
  file->lengthFrames = size / format->blockAlign();
  return true;
}

bool SDIIFileHandler::writeHeader(FStream&, AudioFile* file) const {
  if (!file->format.isWritable() || file->format.sampleType != SampleType::kInteger) return false;
  file->typeName = "SDII";
  file->bigEndian = true;
  file->dataStart = 0;
  // The pair keeps the format alone.
  file->rex = false;
  file->codecAttributes = nullptr;
  file->broadcastAttributes = nullptr;
  file->cues.clear();
  file->annotation.clear();
  file->instrument.reset();
  return true;
}

bool SDIIFileHandler::finish(FStream& stream, AudioFile* file, int64_t frames) const {
  if (frames < 0) return false;
  file->lengthFrames = frames;
  return stream.seek(frames * file->format.blockAlign());
}

std::string SDIIFileHandler::displayName(const AudioFile&) const { return "Sound Designer II File"; }

std::optional<AudioFileCompanion> SDIIFileHandler::companion(const AudioFile& file) const {
  char rate[64];
  std::snprintf(rate, sizeof rate, "%.6f", static_cast<double>(file.format.sampleRate));
  ResourceFork fork;
  fork.resources = {
      {kStringType, kSampleSizeId, "sample-size", pascalStringResource(std::to_string(file.format.bytesPerSample()))},
      {kStringType, kSampleRateId, "sample-rate", pascalStringResource(rate)},
      {kStringType, kChannelsId, "channels", pascalStringResource(std::to_string(file.format.channels))},
  };
  AppleDouble apple;
  apple.fileType = kFileType;
  apple.creator = kCreator;
  apple.resourceFork = fork.build();
  return AudioFileCompanion{AppleDouble::companionPath(file.path), apple.build()};
}

}  // namespace vantor

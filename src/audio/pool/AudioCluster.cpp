#include "audio/pool/AudioCluster.h"

#include <algorithm>
#include <limits>

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(AudioCluster, FThreadShared, 0)

namespace {

// The smallest written size of one file: two empty strings, the float, four
// 16-bit fields and two 64-bit ones.
constexpr int64_t kMinFileBytes = 5 + 5 + 4 + 4 * 2 + 2 * 8;

bool writeFile(FStream& s, const AudioFile& file) {
  return s.writeString(file.path) && s.writeString(file.typeName) && s.writeFloat(file.format.sampleRate) &&
         s.writeInt16(file.format.channels) && s.writeInt16(file.format.bitsPerSample) &&
         s.writeInt16(static_cast<int16_t>(file.format.sampleType)) && s.writeInt16(file.bigEndian ? 1 : 0) &&
         s.writeInt64(file.lengthFrames) && s.writeInt64(file.dataStart);
}

bool readFile(FStream& s, AudioFile* file) {
  int16_t type = 0, bigEndian = 0;
  if (!s.readString(&file->path) || !s.readString(&file->typeName) || !s.readFloat(&file->format.sampleRate) ||
      !s.readInt16(&file->format.channels) || !s.readInt16(&file->format.bitsPerSample) || !s.readInt16(&type) ||
      !s.readInt16(&bigEndian) || !s.readInt64(&file->lengthFrames) || !s.readInt64(&file->dataStart)) {
    return false;
  }
  if (type != 0 && type != 1) return false;
  if (file->format.channels < 1 || file->lengthFrames < 0 || file->dataStart < 0) return false;
  file->format.sampleType = static_cast<SampleType>(type);
  file->bigEndian = bigEndian != 0;
  return true;
}

}  // namespace

AudioCluster::AudioCluster() : attributes_(makeRef<FAttributes>()) {}

int32_t AudioCluster::addFile(AudioFile file) {
  files_.push_back(std::move(file));
  return static_cast<int32_t>(files_.size() - 1);
}

int AudioCluster::channels() const {
  int sum = 0;
  const size_t groups = std::min(files_.size(), static_cast<size_t>(std::max(channelGroups_, 0)));
  for (size_t i = 0; i < groups; ++i) sum += files_[i].format.channels;
  return sum;
}

double AudioCluster::sampleRate() const { return files_.empty() ? 0.0 : files_.front().format.sampleRate; }

int64_t AudioCluster::lengthFrames() const {
  if (files_.empty()) return 0;
  int64_t shortest = std::numeric_limits<int64_t>::max();
  const size_t groups = std::min(files_.size(), static_cast<size_t>(std::max(channelGroups_, 1)));
  for (size_t i = 0; i < groups; ++i) shortest = std::min(shortest, files_[i].lengthFrames);
  return shortest;
}

int64_t AudioCluster::dataBytes() const {
  int64_t sum = 0;
  for (const AudioFile& file : files_) sum += file.lengthFrames * file.format.blockAlign();
  return sum;
}

std::optional<double> AudioCluster::originTime() const {
  double value = 0;
  if (!attributes_->getFloat(AudioClusterKey::kOriginTime, &value)) return std::nullopt;
  return value;
}

void AudioCluster::setRateChangeFactor(double factor) {
  auto set = makeRef<FAttributes>();
  set->setFloat(AudioClusterKey::kFactor, factor);
  attributes_->setAttributes(AudioClusterKey::kClipRateChanged, std::move(set));
}

std::optional<double> AudioCluster::rateChangeFactor() const {
  const FAttributes* set = attributes_->getAttributes(AudioClusterKey::kClipRateChanged);
  double factor = 0;
  if (set == nullptr || !set->getFloat(AudioClusterKey::kFactor, &factor)) return std::nullopt;
  return factor;
}

void AudioCluster::takeDescriptionOf(const AudioFile& file) {
  attributes_->setString(AudioClusterKey::kInfoString, formatLine(file.format));
  if (file.broadcastAttributes) {
    auto set = makeRef<FAttributes>("BroadcastAttributes");
    if (file.broadcastAttributes->storeAttributes(*set)) {
      attributes_->setAttributes(AudioClusterKey::kBroadcast, std::move(set));
    }
  }
}

bool AudioCluster::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  bool ok = s.writeInt32(channelGroups_) && s.writeUInt32(static_cast<uint32_t>(files_.size()));
  for (const AudioFile& file : files_) ok = ok && writeFile(s, file);
  return ok && archive.writeObject(attributes_.get());
}

bool AudioCluster::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  int32_t groups = 0;
  uint32_t count = 0;
  if (!s.readInt32(&groups) || !s.readUInt32(&count)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) > left / kMinFileBytes) return false;
  if (groups < 1 || (count > 0 && static_cast<uint32_t>(groups) > count)) return false;
  std::vector<AudioFile> files(count);
  for (AudioFile& file : files) {
    if (!readFile(s, &file)) return false;
  }
  FRef<FAttributes> attributes;
  if (!archive.readObjectAs(&attributes)) return false;
  files_ = std::move(files);
  channelGroups_ = groups;
  attributes_ = attributes ? std::move(attributes) : makeRef<FAttributes>();
  return true;
}

}  // namespace vantor

#include "document/PDeviceSetup.h"

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PDeviceSetup, FShared, 0)

namespace {

bool inRange(int32_t value, int32_t low, int32_t high) { return value >= low && value <= high; }

bool readNames(FStream& s, std::vector<std::string>* names) {
  uint32_t count = 0;
  if (!s.readUInt32(&count)) return false;
  // Each name takes at least its 32-bit length and a NUL.
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) > left / 5) return false;
  names->clear();
  names->reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    std::string name;
    if (!s.readString(&name)) return false;
    names->push_back(std::move(name));
  }
  return true;
}

bool writeNames(FStream& s, const std::vector<std::string>& names) {
  if (!s.writeUInt32(static_cast<uint32_t>(names.size()))) return false;
  for (const std::string& name : names) {
    if (!s.writeString(name)) return false;
  }
  return true;
}

}  // namespace

bool PDeviceSetup::setSampleRate(int32_t hz) {
  if (!inRange(hz, kMinSampleRate, kMaxSampleRate)) return false;
  sampleRate_ = hz;
  return true;
}

bool PDeviceSetup::setBlockSize(int32_t frames) {
  if (!inRange(frames, kMinBlockSize, kMaxBlockSize)) return false;
  blockSize_ = frames;
  return true;
}

bool PDeviceSetup::sameAs(const PDeviceSetup& other) const {
  return sampleRate_ == other.sampleRate_ && blockSize_ == other.blockSize_ && ports_ == other.ports_;
}

bool PDeviceSetup::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  int32_t rate = 0;
  int32_t block = 0;
  std::array<std::vector<std::string>, 4> ports;
  if (!s.readInt32(&rate) || !s.readInt32(&block) || !inRange(rate, kMinSampleRate, kMaxSampleRate) ||
      !inRange(block, kMinBlockSize, kMaxBlockSize)) {
    return false;
  }
  for (auto& names : ports) {
    if (!readNames(s, &names)) return false;
  }
  sampleRate_ = rate;
  blockSize_ = block;
  ports_ = std::move(ports);
  return true;
}

bool PDeviceSetup::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  if (!s.writeInt32(sampleRate_) || !s.writeInt32(blockSize_)) return false;
  for (const auto& names : ports_) {
    if (!writeNames(s, names)) return false;
  }
  return true;
}

}  // namespace vantor

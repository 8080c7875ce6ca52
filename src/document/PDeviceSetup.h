#pragma once
// The "Devices" root of a project: the audio settings the project was made
// with and the names of the ports its inputs and outputs are routed to.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/FClass.h"
#include "foundation/FShared.h"

namespace vantor {

enum class PPortKind : int { kAudioInput = 0, kAudioOutput = 1, kMidiInput = 2, kMidiOutput = 3 };

class PDeviceSetup : public FShared {
  VANTOR_CLASS(PDeviceSetup)
 public:
  static constexpr int32_t kDefaultSampleRate = 48000;  // Hz
  static constexpr int32_t kDefaultBlockSize = 256;     // frames
  // Accepted ranges; a stored value outside them makes the record unreadable.
  static constexpr int32_t kMinSampleRate = 8000;
  static constexpr int32_t kMaxSampleRate = 768000;
  static constexpr int32_t kMinBlockSize = 16;
  static constexpr int32_t kMaxBlockSize = 8192;

  // 48000 Hz, 256 frames, no ports.
  PDeviceSetup() = default;

  int32_t sampleRate() const { return sampleRate_; }
  int32_t blockSize() const { return blockSize_; }
  // False (and no change) for a value outside the accepted range.
  [[nodiscard]] bool setSampleRate(int32_t hz);
  [[nodiscard]] bool setBlockSize(int32_t frames);

  const std::vector<std::string>& ports(PPortKind kind) const { return ports_[static_cast<size_t>(kind)]; }
  void setPorts(PPortKind kind, std::vector<std::string> names) {
    ports_[static_cast<size_t>(kind)] = std::move(names);
  }

  // Same settings and port names.
  bool sameAs(const PDeviceSetup& other) const;

  // Archive: sample rate (32-bit, Hz), block size (32-bit, frames), then the
  // audio input, audio output, MIDI input and MIDI output port names, each
  // as a 32-bit count followed by that many strings.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  int32_t sampleRate_ = kDefaultSampleRate;
  int32_t blockSize_ = kDefaultBlockSize;
  std::array<std::vector<std::string>, 4> ports_;
};

}  // namespace vantor

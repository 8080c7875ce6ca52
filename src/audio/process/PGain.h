#pragma once
// Gain: multiplies every sample by a factor given in decibels.
//
// Parameters: "Gain" in dB, -96 to +48, default 0 (a factor of
// 10^(dB/20)), then the normalising pair of PAProcessWithNormalize.
// The dialog's preview pass runs the gain over the range without writing
// anything and reports "Clip Detected" when a result sample would leave
// the range -1 to 1 of full scale, "No Clip Detected" otherwise.

#include <string>

#include "audio/process/PAProcessWithNormalize.h"
#include "audio/process/PWorkRunner.h"

namespace vantor {

inline constexpr const char* kClipDetectedMessage = "Clip Detected";
inline constexpr const char* kNoClipDetectedMessage = "No Clip Detected";

class PGain : public PAProcessWithNormalize {
  VANTOR_CLASS(PGain)
 public:
  std::string displayName() const override { return "Gain"; }

  // The preview pass: whether the result over source's lengthFrames frames
  // clips. False with *error set when the source could not be read.
  [[nodiscard]] bool previewClips(const AudioFormat& format, int64_t lengthFrames, PFrameSource& source, bool* clipped,
                                  std::string* error) const;
  static const char* clipText(bool clipped) { return clipped ? kClipDetectedMessage : kNoClipDetectedMessage; }

 protected:
  std::vector<PParameterSpec> processSpecs() const override;
  std::unique_ptr<PAudioWork> createProcessWork() const override;
};

// Multiplies by a constant factor and notes whether a result clipped.
class PGainWork : public PAudioWork {
 public:
  explicit PGainWork(double factor) : factor_(static_cast<float>(factor)) {}
  bool prepare(const AudioFormat& format, int64_t lengthFrames) override;
  void process(const float* in, float* out, int64_t frames) override;
  bool clipped() const { return clipped_; }

 private:
  float factor_;
  bool clipped_ = false;
};

}  // namespace vantor

#pragma once
// DC offset: "Compute DC Offset" (PDCOffsetPrepare, an analysis) measures
// each channel's mean over the range; "Remove DC Offset" (PDCOffset)
// measures it in its analysis pass and subtracts it, so the result's mean
// is 0. Neither has parameters: the offset is measured afresh on every run,
// so re-running the removal after an earlier edit of the clip removes the
// offset the audio has then.

#include <vector>

#include "audio/process/PAudioAnalyze.h"

namespace vantor {

inline constexpr const char* kComputeDCOffsetAction = "Compute DC Offset";
inline constexpr const char* kRemoveDCOffsetAction = "Remove DC Offset";

// Sums each channel in double precision over the analysis pass.
class PDCOffsetWork : public PAnalysisWork {
 public:
  explicit PDCOffsetWork(bool removes) : removes_(removes) {}
  bool prepare(const AudioFormat& format, int64_t lengthFrames) override;
  void analyze(const float* in, int64_t frames) override;
  void endAnalysis() override;
  void process(const float* in, float* out, int64_t frames) override;
  // The mean of each channel, known after the analysis pass.
  const std::vector<double>& offsets() const { return offsets_; }

 private:
  bool removes_;
  std::vector<double> sums_;
  std::vector<double> offsets_;
  int64_t frames_ = 0;
};

class PDCOffsetPrepare : public PAudioAnalyze {
  VANTOR_CLASS(PDCOffsetPrepare)
 public:
  std::string displayName() const override { return kComputeDCOffsetAction; }
  std::unique_ptr<PAudioWork> createWork() const override { return std::make_unique<PDCOffsetWork>(false); }
  // "DC Offset: -0.5000 %, 0.0000 %": each channel's mean in percent of
  // full scale.
  std::string summary(const PAudioWork& work) const override;
};

class PDCOffset : public PAudioProcess {
  VANTOR_CLASS(PDCOffset)
 public:
  std::string displayName() const override { return kRemoveDCOffsetAction; }
  std::unique_ptr<PAudioWork> createWork() const override { return std::make_unique<PDCOffsetWork>(true); }
};

}  // namespace vantor

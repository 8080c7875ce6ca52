#pragma once
// A process that may end with normalising: its result is scaled so that its
// largest absolute sample reaches "Normalize Level".
//
// Parameters added to the process's own, after them:
//   "Normalize"        choice "Off" (default) or "On";
//   "Normalize Level"  the peak to reach, in dBFS, -60 to 0, default 0.
// Normalising needs the result's peak before the first frame is written, so
// the run makes an analysis pass that carries the process out once and only
// measures, then the processing pass that carries it out again and scales.
// A result of pure silence is left as it is.

#include <memory>
#include <vector>

#include "audio/process/PAudioProcess.h"

namespace vantor {

class PAProcessWithNormalize : public PAudioProcess {
  VANTOR_CLASS(PAProcessWithNormalize)
 public:
  std::vector<PParameterSpec> parameterSpecs() const final;
  std::unique_ptr<PAudioWork> createWork() const final;

  bool normalizes() const { return number("Normalize") >= 1; }

 protected:
  // The process's own parameters and work, without normalising.
  virtual std::vector<PParameterSpec> processSpecs() const = 0;
  virtual std::unique_ptr<PAudioWork> createProcessWork() const = 0;
};

// Wraps a work: measures its result's peak in the analysis pass and scales
// its result by targetPeak / peak in the processing pass.
class PNormalizeWork : public PAudioWork {
 public:
  PNormalizeWork(std::unique_ptr<PAudioWork> inner, double targetPeak);

  bool prepare(const AudioFormat& format, int64_t lengthFrames) override;
  bool needsAnalysis() const override { return true; }
  void analyze(const float* in, int64_t frames) override;
  void endAnalysis() override;
  void process(const float* in, float* out, int64_t frames) override;
  int64_t latencyFrames() const override { return inner_->latencyFrames(); }

  // The peak the analysis found and the factor applied.
  double peak() const { return peak_; }
  double factor() const { return factor_; }

 private:
  void measure(const float* samples, int64_t frames);

  std::unique_ptr<PAudioWork> inner_;
  double targetPeak_;
  AudioFormat format_;
  std::vector<float> scratch_;
  int64_t outputFrames_ = 0;  // frames of the inner result seen so far
  double peak_ = 0;
  double factor_ = 1;
};

}  // namespace vantor

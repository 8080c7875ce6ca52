#pragma once
// An analysis: a process that reads the range and reports what it found,
// leaving the audio as it is. Its work needs the analysis pass only; its
// processing pass copies the input. After a run, summary() gives the
// finding in words for the user.

#include <string>

#include "audio/process/PAudioProcess.h"

namespace vantor {

class PAudioAnalyze : public PAudioProcess {
  VANTOR_CLASS(PAudioAnalyze)
 public:
  bool changesAudio() const override { return false; }
  // The finding of work (made by this process's createWork) after its run.
  virtual std::string summary(const PAudioWork& work) const = 0;
};

// Base of analysis works: analysis pass only, a copying processing pass.
class PAnalysisWork : public PAudioWork {
 public:
  bool needsAnalysis() const override { return true; }
  void process(const float* in, float* out, int64_t frames) override;
};

}  // namespace vantor

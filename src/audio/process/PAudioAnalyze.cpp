#include "audio/process/PAudioAnalyze.h"

#include <algorithm>

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(PAudioAnalyze, PAudioProcess, 0)

void PAnalysisWork::process(const float* in, float* out, int64_t frames) {
  if (in != out) std::copy(in, in + frames * channels(), out);
}

}  // namespace vantor

#include "audio/process/PSilence.h"

#include <algorithm>

namespace vantor {

VANTOR_DEFINE_CLASS(PSilence, PAudioProcess, 0)

namespace {

class SilenceWork : public PAudioWork {
 public:
  void process(const float*, float* out, int64_t frames) override { std::fill(out, out + frames * channels(), 0.0f); }
};

}  // namespace

std::unique_ptr<PAudioWork> PSilence::createWork() const { return std::make_unique<SilenceWork>(); }

}  // namespace vantor

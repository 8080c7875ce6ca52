#include "audio/process/PEnvelope.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PEnvelope, PAProcessWithNormalize, 0)

namespace {

class EnvelopeWork : public PAudioWork {
 public:
  explicit EnvelopeWork(MInterpolator curve) : curve_(std::move(curve)) {}
  bool prepare(const AudioFormat& format, int64_t lengthFrames) override {
    position_ = 0;
    return PAudioWork::prepare(format, lengthFrames);
  }
  void process(const float* in, float* out, int64_t frames) override {
    const int ch = channels();
    const double span = lengthFrames() > 1 ? static_cast<double>(lengthFrames() - 1) : 1.0;
    for (int64_t f = 0; f < frames; ++f, ++position_) {
      const auto factor = static_cast<float>(curve_.valueAt(static_cast<double>(position_) / span));
      for (int c = 0; c < ch; ++c) out[f * ch + c] = in[f * ch + c] * factor;
    }
  }

 private:
  MInterpolator curve_;
  int64_t position_ = 0;
};

}  // namespace

std::vector<PParameterSpec> PEnvelope::processSpecs() const {
  return {{"Envelope", PParameterSpec::Kind::kText, 0, 0, 0, "0:1, 1:1"}};
}

MInterpolator PEnvelope::curve() const {
  std::optional<MInterpolator> parsed = MInterpolator::parse(text("Envelope"));
  return parsed ? *parsed : MInterpolator();
}

bool PEnvelope::checkText(std::string_view, const std::string& value, std::string* error) const {
  const std::optional<MInterpolator> parsed = MInterpolator::parse(value);
  bool inRange = parsed.has_value() && !parsed->points().empty();
  if (inRange) {
    for (const MInterpolator::Point& point : parsed->points()) {
      inRange = inRange && point.x >= 0 && point.x <= 1 && point.y >= 0 && point.y <= kMaximumFactor;
    }
  }
  if (!inRange) {
    *error =
        "\"Envelope\" takes points \"x:y, ...\" with x from 0 to 1 rising and y from 0 to 4, not \"" + value + "\"";
  }
  return inRange;
}

std::unique_ptr<PAudioWork> PEnvelope::createProcessWork() const { return std::make_unique<EnvelopeWork>(curve()); }

}  // namespace vantor

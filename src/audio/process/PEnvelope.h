#pragma once
// Envelope: multiplies the range by a curve (MInterpolator) drawn over it.
//
// Parameters: "Envelope", the curve's text form; x is the place in the
// range from 0 (its first frame) to 1 (its last frame), y a factor from 0
// to 4 (1 leaves the sample as it is). Default "0:1, 1:1". Frame i of n
// gets the factor at x = i / (n - 1) (x = 0 when n is 1). Then the
// normalising pair of PAProcessWithNormalize.

#include "audio/process/MInterpolator.h"
#include "audio/process/PAProcessWithNormalize.h"

namespace vantor {

class PEnvelope : public PAProcessWithNormalize {
  VANTOR_CLASS(PEnvelope)
 public:
  std::string displayName() const override { return "Envelope"; }
  MInterpolator curve() const;

  static constexpr double kMaximumFactor = 4.0;

 protected:
  std::vector<PParameterSpec> processSpecs() const override;
  std::unique_ptr<PAudioWork> createProcessWork() const override;
  bool checkText(std::string_view key, const std::string& value, std::string* error) const override;
};

}  // namespace vantor

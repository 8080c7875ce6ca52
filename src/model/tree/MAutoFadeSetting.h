#pragma once
// The project's default automatic fades: fades that playback applies at the
// edges of audio events so that cuts do not click. Lengths are in
// milliseconds.

#include <cstdint>

#include "foundation/FShared.h"

namespace vantor {

// Shape of a fade curve. Stored as a 16-bit value.
enum class MFadeCurve : int16_t { kLinear = 0, kSine = 1, kSquareRoot = 2, kLogarithmic = 3, kExponential = 4 };

class MAutoFadeSetting : public FShared {
  VANTOR_CLASS(MAutoFadeSetting)
 public:
  static constexpr double kDefaultLength = 1.0;  // milliseconds

  // Both fades off, 1 ms long, linear.
  MAutoFadeSetting() = default;

  bool isFadeInOn() const { return fadeInOn_; }
  void setFadeInOn(bool on) { fadeInOn_ = on; }
  bool isFadeOutOn() const { return fadeOutOn_; }
  void setFadeOutOn(bool on) { fadeOutOn_ = on; }
  double getFadeInLength() const { return fadeInLength_; }
  void setFadeInLength(double ms) { fadeInLength_ = ms; }
  double getFadeOutLength() const { return fadeOutLength_; }
  void setFadeOutLength(double ms) { fadeOutLength_ = ms; }
  MFadeCurve getFadeInCurve() const { return fadeInCurve_; }
  void setFadeInCurve(MFadeCurve curve) { fadeInCurve_ = curve; }
  MFadeCurve getFadeOutCurve() const { return fadeOutCurve_; }
  void setFadeOutCurve(MFadeCurve curve) { fadeOutCurve_ = curve; }

  bool operator==(const MAutoFadeSetting& other) const;

  // Archive: fade-in on (16-bit 0/1), length (double), curve (16-bit), then
  // the same three for the fade-out. A negative or non-finite length fails
  // the read; an unknown curve reads as linear.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // Attributes "Fade In", "Fade In Length", "Fade In Curve", "Fade Out",
  // "Fade Out Length", "Fade Out Curve"; missing keys keep their values.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  bool fadeInOn_ = false;
  bool fadeOutOn_ = false;
  double fadeInLength_ = kDefaultLength;
  double fadeOutLength_ = kDefaultLength;
  MFadeCurve fadeInCurve_ = MFadeCurve::kLinear;
  MFadeCurve fadeOutCurve_ = MFadeCurve::kLinear;
};

}  // namespace vantor

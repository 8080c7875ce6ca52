#pragma once
// The transport model of a project: the left and right locators (in pulses)
// and the cycle switch. Locator markers (MCycleEvent) read their position
// from it; the arrangement saves it with the project.

#include <cstdint>

#include "foundation/FShared.h"

namespace vantor {

class MTempoTrackNode;

class MTransport : public FShared {
  VANTOR_CLASS(MTransport)
 public:
  // Locators of a new project: bar 1 to bar 5 in 4/4.
  static constexpr double kDefaultLeft = 0;
  static constexpr double kDefaultRight = 4 * 1920;

  double getLeftLocator() const { return left_; }
  double getRightLocator() const { return right_; }
  // Positions in pulses; negative values are clamped to 0.
  void setLeftLocator(double pulses);
  void setRightLocator(double pulses);
  // The locator of a locator marker's ID: 1 is the left, any other the right.
  double getLocator(int32_t id) const { return id == 1 ? left_ : right_; }
  bool isCycleOn() const { return cycle_; }
  void setCycle(bool on) { cycle_ = on; }

  // The tempo map used to give locators in seconds (not owned; set by the
  // document when the project is opened or created).
  const MTempoTrackNode* getTempo() const { return tempo_; }
  void setTempo(const MTempoTrackNode* tempo) { tempo_ = tempo; }

  // Archive: left and right locator (doubles, pulses), cycle (16-bit).
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  double left_ = kDefaultLeft;
  double right_ = kDefaultRight;
  bool cycle_ = false;
  const MTempoTrackNode* tempo_ = nullptr;
};

}  // namespace vantor

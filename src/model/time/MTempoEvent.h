#pragma once
// A tempo change on the tempo track: a tempo (seconds per quarter note) at a
// musical position, how the tempo runs into it from the previous change
// (jump or linear ramp), and the change's position in seconds, which the
// tempo track keeps up to date from the changes before it.

#include <cstdint>

#include "model/tree/MEvent.h"

namespace vantor {

// How tempo runs from the previous change into this one.
namespace MTempoFunc {
constexpr int32_t kJump = 0;  // the previous tempo holds until this change
constexpr int32_t kRamp = 1;  // linear in pulses from the previous tempo to this one
}  // namespace MTempoFunc

class MTempoEvent : public MEvent {
  VANTOR_EVENT(MTempoEvent)
 public:
  // The slowest tempo the hundredths interface and setBPM() accept.
  static constexpr double kMinBPM = 1.0;

  // Position 0, time 0, jump, 120 BPM (0.5 seconds per beat).
  MTempoEvent();
  // A change to bpm at pulses (bpm below kMinBPM becomes kMinBPM).
  MTempoEvent(double pulses, double bpm, int32_t func = MTempoFunc::kJump);
  MTempoEvent(const MTempoEvent& other) = default;

  // Start = "PPQ", in pulses.
  void setStart(double pulses) override;
  double getStart() const override;

  // Tempo as seconds per beat (quarter note), kept as a float. Values that
  // are not positive and finite are refused (false, nothing changes).
  float getSPB() const { return spb_; }
  [[nodiscard]] bool setSPB(float spb);
  // Tempo in beats per minute: 60 / SPB. setBPM replaces a BPM below
  // kMinBPM (or NaN) by kMinBPM and stores 60 / BPM as float.
  double getBPM() const { return 60.0 / static_cast<double>(spb_); }
  void setBPM(double bpm);
  // Tempo in hundredths of a BPM: reading gives the integer part of
  // 60 / SPB * 100 + 0.5; writing takes value / 100 as BPM through setBPM.
  int32_t getTempoHundredths() const;
  void setTempoHundredths(int32_t hundredths);

  // "Time": seconds at this change; derived by the tempo track.
  double getTime() const { return time_; }
  void setTime(double seconds) { time_ = seconds; }
  // "Func": MTempoFunc::kJump or kRamp; other stored values act as a jump.
  int32_t getFunc() const { return func_; }
  void setFunc(int32_t func);
  bool isRamp() const { return func_ == MTempoFunc::kRamp; }

  // Archive: the event's own members, then "TempoSPB" (double), "Time"
  // (double), "PPQ" (double), "Func" (32-bit). A read fails on a tempo that
  // is not positive and finite or a position or time that is not finite.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // Attributes: the event's own, then "TempoSPB", "Time", "PPQ", "Func".
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  // Tells the tempo track that holds this change to recompute its times.
  void notifyTrack();

  float spb_ = 0.5f;
  double time_ = 0;
  double ppq_ = 0;
  int32_t func_ = MTempoFunc::kJump;
};

}  // namespace vantor

#pragma once
// An audio event: a placement of a range of a clip inside an audio part.
//
// Units: like every event, its start, length and offset are in the domain
// of the part that holds it (pulses in the musical domain). The range of
// the clip it shows is in frames of the clip: clipStart is the clip's
// frame heard at the event's start and clipLength how many frames follow.
// The event's length in pulses is set from the clip range through the
// tempo map when the event is placed; playback follows the frames.

#include <cstdint>

#include "audio/pool/PAudioClip.h"
#include "foundation/FRef.h"
#include "model/tree/MAutoFadeSetting.h"
#include "model/tree/MEvent.h"

namespace vantor {

class MAudioEvent : public MEvent {
  VANTOR_EVENT(MAudioEvent)
 public:
  MAudioEvent() = default;
  // An event showing frames [clipStart, clipStart + clipLength) of clip.
  MAudioEvent(FRef<PAudioClip> clip, int64_t clipStart, int64_t clipLength)
      : clip_(std::move(clip)), clipStart_(clipStart), clipLength_(clipLength) {}

  PAudioClip* getClip() const { return clip_.get(); }
  const FRef<PAudioClip>& clipRef() const { return clip_; }
  void setClip(FRef<PAudioClip> clip) { clip_ = std::move(clip); }
  int64_t getClipStart() const { return clipStart_; }
  int64_t getClipLength() const { return clipLength_; }
  int64_t getClipEnd() const { return clipStart_ + clipLength_; }
  void setClipRange(int64_t start, int64_t length) {
    clipStart_ = start;
    clipLength_ = length;
  }

  // The event's own fades, in frames of the clip: 0 means none of its own,
  // and playback applies the project's automatic fade for that edge when it
  // is on. A fade longer than half the event is shortened to half when
  // played.
  int64_t getFadeIn() const { return fadeIn_; }
  int64_t getFadeOut() const { return fadeOut_; }
  MFadeCurve getFadeInCurve() const { return fadeInCurve_; }
  MFadeCurve getFadeOutCurve() const { return fadeOutCurve_; }
  void setFadeIn(int64_t frames, MFadeCurve curve) {
    fadeIn_ = frames;
    fadeInCurve_ = curve;
  }
  void setFadeOut(int64_t frames, MFadeCurve curve) {
    fadeOut_ = frames;
    fadeOutCurve_ = curve;
  }

  // Archive (class version 1): the event members, then the clip (object
  // record: a back reference to the clip the pool wrote), clip start and
  // clip length (64-bit frames), then fade-in length (64-bit frames) and
  // curve (16-bit), fade-out length and curve. Version 0 records end after
  // the clip length. A negative range or fade is refused; an unknown curve
  // reads as linear.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  FRef<PAudioClip> clip_;
  int64_t clipStart_ = 0;
  int64_t clipLength_ = 0;
  int64_t fadeIn_ = 0;
  int64_t fadeOut_ = 0;
  MFadeCurve fadeInCurve_ = MFadeCurve::kLinear;
  MFadeCurve fadeOutCurve_ = MFadeCurve::kLinear;
};

}  // namespace vantor

#include "render/RMetronome.h"

#include <cmath>
#include <span>

#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"

namespace vantor {

namespace {

// Division rounding towards minus infinity (divisor > 0).
int64_t floorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && a < 0) ? q - 1 : q;
}

// Walks the beats of the signature track from position 0 on, in order. Each
// signature rules from its position to the next one; its bars start at its
// own position (the first signature's bars also reach back before it), and
// a signature off a bar line starts a fresh bar, as bar numbers count it.
class BeatWalker {
 public:
  explicit BeatWalker(const MSignatureTrackNode* track) : track_(track) {
    enter(track_ && track_->signatureCount() > 0 ? track_->signature(0) : nullptr);
    // The first signature's bars reach back before it; bars before
    // position 0 are not heard.
    for (bool first = true;; first = false) {
      if (first || origin_ < 0) {
        barStart_ = origin_ + floorDiv(-origin_, barLength_) * barLength_;
        beat_ = barStart_;
        while (beat_ < 0) beat_ += beatLength_;
      } else {
        barStart_ = beat_ = origin_;
      }
      if (beat_ < limit_) return;
      enter(track_->signature(next_));
    }
  }

  // The next beat: its position in pulses and whether it opens a bar.
  void next(int64_t* position, bool* accent) {
    *position = beat_;
    *accent = beat_ == barStart_;
    beat_ += beatLength_;
    if (beat_ >= barStart_ + barLength_) {
      barStart_ += barLength_;
      beat_ = barStart_;
    }
    if (beat_ >= limit_) {
      enter(track_->signature(next_));
      barStart_ = beat_ = origin_;
    }
  }

 private:
  // Makes sig the ruling signature and finds where the next one takes over.
  void enter(const MTimeSignatureEvent* sig) {
    origin_ = sig ? sig->getPosition() : 0;
    barLength_ = sig ? sig->barLength() : MTimeSignatureEvent::kWholeNote;
    beatLength_ = sig ? sig->beatLength() : MTimeSignatureEvent::kWholeNote / 4;
    ++next_;
    const MTimeSignatureEvent* following = track_ ? track_->signature(next_) : nullptr;
    // A signature at the same position as the one before it replaces it.
    while (following && following->getPosition() <= origin_) {
      origin_ = following->getPosition();
      barLength_ = following->barLength();
      beatLength_ = following->beatLength();
      following = track_->signature(++next_);
    }
    limit_ = following ? following->getPosition() : INT64_MAX;
  }

  const MSignatureTrackNode* track_;
  size_t next_ = 0;
  int64_t origin_ = 0;
  int64_t barLength_ = MTimeSignatureEvent::kWholeNote;
  int64_t beatLength_ = MTimeSignatureEvent::kWholeNote / 4;
  int64_t limit_ = INT64_MAX;
  int64_t barStart_ = 0;
  int64_t beat_ = 0;
};

}  // namespace

std::vector<RClick> metronomeClicks(const MProject& project, int sampleRate, int64_t endFrame) {
  std::vector<RClick> clicks;
  if (endFrame <= 0 || sampleRate <= 0) return clicks;
  const MTempoTrackNode* tempo = project.getTempoNode();
  BeatWalker walker(project.getSignatureNode());

  // Beats are converted in batches: one linear pass over the tempo table
  // per batch instead of a binary search per beat.
  constexpr size_t kBatch = 512;
  double pulses[kBatch];
  double seconds[kBatch];
  bool accents[kBatch];
  for (;;) {
    for (size_t i = 0; i < kBatch; ++i) {
      int64_t position = 0;
      walker.next(&position, &accents[i]);
      pulses[i] = static_cast<double>(position);
    }
    if (tempo) {
      tempo->secondsAt(std::span<const double>(pulses, kBatch), std::span<double>(seconds, kBatch));
    } else {
      for (size_t i = 0; i < kBatch; ++i) seconds[i] = pulses[i] * 60.0 / (MTempoTrackNode::kDefaultBPM * 480.0);
    }
    for (size_t i = 0; i < kBatch; ++i) {
      const int64_t frame = std::llround(seconds[i] * sampleRate);
      if (frame >= endFrame) return clicks;
      clicks.push_back({frame, accents[i]});
    }
  }
}

}  // namespace vantor

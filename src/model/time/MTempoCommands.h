#pragma once
// Commands on the tempo and signature tracks: set a tempo (changing a tempo
// event or inserting a new one), change how tempo runs into an event (jump
// or ramp), and add or modify a time signature, moving later signatures so
// they keep their bar numbers. Each keeps what it needs to restore the
// tracks exactly; a track that gives no write accessor (read-only) is not
// changed and the command fails.

#include <array>
#include <cstdint>
#include <string>

#include "foundation/FRef.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoEvent.h"
#include "model/time/MTempoTrack.h"
#include "model/time/MTimeRange.h"
#include "model/undo/MCommand.h"

namespace vantor {

// Sets a tempo. "Set Tempo". Either for a given tempo event, or at a
// position of a tempo track: the event exactly at that position gets the
// tempo, and without one a new event is inserted there (undo takes it out).
// The tempo must lie in MTimeRange's range (1 to 999.99 BPM) and the
// position in the position range; otherwise the command fails and changes
// nothing (a front end shows MTimeRange::kTempoRangeMessage). The tempo is
// stored as seconds per beat, a float, as the file keeps it. A Set Tempo
// performed right after
// another one for the same tempo event unites with it, so dragging a tempo
// is one undo step.
class MSetTempoCommand : public MCommand {
  VANTOR_CLASS(MSetTempoCommand)
 public:
  static constexpr double kMaxBPM = MTimeRange::kMaxBPM;

  MSetTempoCommand() = default;
  MSetTempoCommand(FRef<MTempoEvent> event, double bpm);
  // pulses must not be negative; func applies to a newly inserted event only.
  MSetTempoCommand(FRef<MTempoTrackNode> track, double pulses, double bpm, int32_t func = MTempoFunc::kJump);

  std::string description() const override { return "Set Tempo"; }
  bool unite(const MCommand& next) override;
  // The event whose tempo is set (the inserted one after an insert).
  MTempoEvent* event() const { return event_.get(); }
  bool inserted() const { return inserted_; }

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override;

 private:
  bool exchange();

  FRef<MTempoTrackNode> track_;
  FRef<MTempoEvent> event_;
  double pulses_ = 0;
  float spb_ = 0.5f;
  bool inRange_ = true;  // the tempo asked for lies in the range
  int32_t func_ = MTempoFunc::kJump;
  bool inserted_ = false;
};

// Changes "Func" of a tempo event: how tempo runs from the previous event
// into it (MTempoFunc::kJump or kRamp; other values fail). "Set Tempo Type".
class MTempoTypeCommand : public MExchangeCommand {
  VANTOR_CLASS(MTempoTypeCommand)
 public:
  MTempoTypeCommand() = default;
  MTempoTypeCommand(FRef<MTempoEvent> event, int32_t func);

  std::string description() const override { return "Set Tempo Type"; }

 protected:
  bool doPerform() override;
  bool exchange() override;

 private:
  FRef<MTempoEvent> event_;
  int32_t func_ = MTempoFunc::kJump;
};

// The values of a time signature that a command sets.
struct MSignatureValues {
  uint16_t numerator = 4;
  uint16_t denominator = 4;
  std::array<uint16_t, MTimeSignatureEvent::kSubNumerators> subNumerators = {0, 0, 0};
};

// Adds a time signature at a position ("Add Signature") or changes an
// existing one ("Modify Signature"); adding at the position of an existing
// signature modifies that one. Signatures after the new or changed one move
// by (new bar length - old bar length) * (whole old bars up to the next
// signature), the old bar length being that of the signature in force there
// before. Undo moves them back by exactly the recorded amount rather than by
// the rule with the lengths swapped: the swapped rule counts bars with the
// new length and can land elsewhere when the next signature was not a whole
// number of old bars away (only in files from elsewhere); the recorded move
// always restores the exact positions.
//
// Refused (nothing changes): a numerator or denominator outside
// MTimeRange's rules (a stored signature with another denominator keeps it
// until it is changed), a new signature that does not start on a bar line
// (a signature placed inside a bar would renumber every later bar), a
// position outside 0 to 2147483647, and a move of later signatures that
// would leave that range.
class MTimeSignatureCommand : public MCommand {
  VANTOR_CLASS(MTimeSignatureCommand)
 public:
  MTimeSignatureCommand() = default;
  MTimeSignatureCommand(FRef<MSignatureTrackNode> track, int32_t position, MSignatureValues values);
  MTimeSignatureCommand(FRef<MTimeSignatureEvent> signature, MSignatureValues values);

  std::string description() const override;
  // The signature added or modified (after perform).
  MTimeSignatureEvent* signature() const { return signature_.get(); }
  // The move made of the later signatures, in pulses.
  int32_t shift() const { return shift_; }

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override;

 private:
  // The signature event at exactly position_ on track_, or nullptr.
  MTimeSignatureEvent* existingAtPosition() const;
  bool performModify(MSignatureTrackNode& track);
  bool performAdd(MSignatureTrackNode& track);
  void exchangeValues();

  FRef<MSignatureTrackNode> track_;
  FRef<MTimeSignatureEvent> signature_;
  int32_t position_ = 0;
  MSignatureValues values_;
  bool added_ = false;
  int32_t shift_ = 0;
};

}  // namespace vantor

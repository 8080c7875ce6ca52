#pragma once
// Marker numbering: MMarkerIdCommand gives a marker a new ID ("Set ID").
// When another marker of the same track holds that ID, the two exchange
// their IDs, so IDs stay unique and renumbering never loses a marker.
//
// The other marker edits run through the event commands under their own
// action names (kInsertMarker, ... below).

#include <cstdint>

#include "foundation/FRef.h"
#include "model/markers/MMarkerEvent.h"
#include "model/undo/MCommand.h"

namespace vantor {

inline constexpr const char* kInsertMarkerAction = "Insert Marker";
inline constexpr const char* kMoveMarkerAction = "Move Marker";
inline constexpr const char* kRemoveMarkerAction = "Remove Marker";
inline constexpr const char* kRenameMarkerAction = "Rename Marker";
inline constexpr const char* kSetIDAction = "Set ID";

class MMarkerIdCommand : public MCommand {
  VANTOR_CLASS(MMarkerIdCommand)
 public:
  MMarkerIdCommand() = default;
  // Fails when marker is a locator marker, has no parent, or id is below 1.
  MMarkerIdCommand(FRef<MMarkerEvent> marker, int32_t id);

  std::string description() const override { return kSetIDAction; }
  // The marker that held the ID and got the old one, or nullptr.
  MMarkerEvent* swappedWith() const { return other_.get(); }

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override;

 private:
  void exchange();

  FRef<MMarkerEvent> marker_;
  FRef<MMarkerEvent> other_;
  int32_t id_ = 0;
};

// Renames a plain or range marker ("Rename Marker"); the name of a locator
// marker follows its ID and cannot be changed, and a name isValidName
// refuses is not given.
class MMarkerRenameCommand : public MExchangeCommand {
  VANTOR_CLASS(MMarkerRenameCommand)
 public:
  MMarkerRenameCommand() = default;
  MMarkerRenameCommand(FRef<MMarkerEvent> marker, std::string name);

  std::string description() const override { return kRenameMarkerAction; }
  // Renames of the same marker in quick succession are one undo step.
  bool unite(const MCommand& next) override;

 protected:
  bool doPerform() override;

 private:
  bool exchange() override;

  FRef<MMarkerEvent> marker_;
  std::string name_;
};

}  // namespace vantor

#pragma once
// The size commands: change an event's start, length and offset. The command
// holds the values to set; performing exchanges them with the event's current
// values, so the command then holds the old ones and performing again undoes
// it. Units are those of the node that holds the event (pulses or seconds).

#include <cstdint>
#include <string>

#include "foundation/FRef.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/undo/MCommand.h"

namespace vantor {

class MSizeCommand : public MExchangeCommand {
  VANTOR_CLASS(MSizeCommand)
 public:
  // Bits of the 16-bit command flags.
  static constexpr uint16_t kValid = 0x2;    // cleared when the command could not be performed
  static constexpr uint16_t kStart = 0x8;    // change the start
  static constexpr uint16_t kLength = 0x10;  // change the length
  static constexpr uint16_t kOffset = 0x20;  // change the offset

  MSizeCommand() = default;
  // Sets start, length and offset of event, which node holds.
  MSizeCommand(FRef<MEvent> event, FRef<MDataNode> node, double start, double length, double offset);

  uint16_t flags() const { return flags_; }
  bool isValid() const { return (flags_ & kValid) != 0; }
  // The values the next exchange sets (after performing: the old ones).
  double start() const { return start_; }
  double length() const { return length_; }
  double offset() const { return offset_; }
  MEvent* event() const { return event_.get(); }
  MDataNode* node() const { return node_.get(); }

  std::string description() const override;
  // The same edit (same event, same node, same three change bits) unites:
  // a run of drags or nudges of one event is one undo step.
  bool unite(const MCommand& next) override;

 protected:
  // For the subclasses: only the fields in changeBits change.
  MSizeCommand(FRef<MEvent> event, FRef<MDataNode> node, double start, double length, double offset,
               uint16_t changeBits);

  bool doPerform() override;
  // The seven steps: exchange the values with the event's through the
  // node's write accessor. Clears kValid and changes nothing when the node
  // gives no accessor or no longer holds the event.
  bool exchange() override;

 private:
  // The start and length the event would have lie in the time range
  // (MTimeRange::checkPlacement); true when neither changes.
  bool placementInRange(std::string* error) const;

  uint16_t flags_ = 0;
  double start_ = 0;
  double length_ = 0;
  double offset_ = 0;
  FRef<MEvent> event_;
  FRef<MDataNode> node_;
};

// Moves the start edge and keeps the end: the content stays where it lies on
// the time line (the offset grows by what the start moved).
class MSizeStartCommand : public MSizeCommand {
  VANTOR_CLASS(MSizeStartCommand)
 public:
  MSizeStartCommand() = default;
  MSizeStartCommand(FRef<MEvent> event, FRef<MDataNode> node, double newStart);
  std::string description() const override;

 protected:
  MSizeStartCommand(FRef<MEvent> event, FRef<MDataNode> node, double start, double length, double offset,
                    uint16_t changeBits);
};

// Moves the end edge: only the length changes.
class MSizeEndCommand : public MSizeCommand {
  VANTOR_CLASS(MSizeEndCommand)
 public:
  MSizeEndCommand() = default;
  MSizeEndCommand(FRef<MEvent> event, FRef<MDataNode> node, double newEnd);
  std::string description() const override;
};

// Sets the offset only ("Set Offset").
class MOffsetCommand : public MSizeCommand {
  VANTOR_CLASS(MOffsetCommand)
 public:
  MOffsetCommand() = default;
  MOffsetCommand(FRef<MEvent> event, FRef<MDataNode> node, double newOffset);
  std::string description() const override;
};

// Sets the length only.
class MLengthCommand : public MSizeCommand {
  VANTOR_CLASS(MLengthCommand)
 public:
  MLengthCommand() = default;
  MLengthCommand(FRef<MEvent> event, FRef<MDataNode> node, double newLength);
  std::string description() const override;
};

// Moves the start edge with the content and keeps the end: start and length
// change, the offset stays.
class MMoveStartCommand : public MSizeStartCommand {
  VANTOR_CLASS(MMoveStartCommand)
 public:
  MMoveStartCommand() = default;
  MMoveStartCommand(FRef<MEvent> event, FRef<MDataNode> node, double newStart);
  std::string description() const override;
};

}  // namespace vantor

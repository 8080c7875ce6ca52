#pragma once
// Parts: a part event places a part node (a list of further events) on a
// track. Group events hold further parts; the project's root is one.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "foundation/FRef.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MEvent.h"

namespace vantor {

// The content of a part: its events in start order.
class MPartNode : public MListNode {
  VANTOR_CLASS(MPartNode)
 public:
  // Accessors over the part's events (MPartAccessor); the write accessor is
  // nullptr while the node is read-only.
  FRef<MAccessor> getWriteAccessor() override;
  FRef<MAccessor> getReadAccessor() override;
};

// The content of an audio part: its audio events. Its hold rule takes only
// events of the class "MAudioEvent" (of the audio layer, so named by class)
// and what derives from it.
class MAudioPart : public MPartNode {
  VANTOR_CLASS(MAudioPart)
 public:
  MAudioPart();
};

// Accessor over a part's content.
class MPartAccessor : public MListAccessor {
  VANTOR_CLASS(MPartAccessor)
 public:
  using MListAccessor::MListAccessor;
};

// A value of a named property: a number (pulses for positions), a switch or
// a text.
using MPropertyValue = std::variant<double, bool, std::string>;

class MPartEvent : public MEvent {
  VANTOR_EVENT(MPartEvent)
 public:
  MPartEvent() = default;

  // The part's name: its node's name ("" without a node). Setting a name
  // gives a part without a node an empty node of its kind first.
  std::string getName() const;
  void setName(std::string name);

  // A new, empty node of this part kind.
  virtual FRef<MDataNode> createNode() const;

  // Where the part's content starts on its parent's time line: its start
  // minus its offset. The positions of the events inside the part count
  // from here, so they move with the part and keep their place when it is
  // split or sized at its start.
  double getContentOrigin() const { return getStart() - getOffset(); }

  // The part's colour as 0xRRGGBB; 0 is the track's colour.
  int32_t getColor() const { return color_; }
  void setColor(int32_t color) { color_ = color; }

  // Archive: the event members, then the colour (32-bit).
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

  // Named properties for scripting and export: "name" (text), "start",
  // "length", "offset" (numbers, in the parent node's domain), "muted",
  // "locked" (switches).
  static constexpr std::array<std::string_view, 6> kPropertyNames = {"name",   "start", "length",
                                                                     "offset", "muted", "locked"};
  // The property's value, or nullopt for an unknown name.
  std::optional<MPropertyValue> getProperty(std::string_view name) const;
  // Sets a property. False for an unknown name, a value of the wrong kind,
  // or a negative length; nothing changes then. A new start moves the part
  // to its place in its parent node through the node's write accessor (false
  // when the node is read-only).
  [[nodiscard]] bool setProperty(std::string_view name, const MPropertyValue& value);

 private:
  int32_t color_ = 0;
};

// An audio part; its node is an MAudioPart.
class MAudioPartEvent : public MPartEvent {
  VANTOR_EVENT(MAudioPartEvent)
 public:
  FRef<MDataNode> createNode() const override;
};

// A part whose node (an MPartNode) holds further parts.
class MGroupEvent : public MPartEvent {
  VANTOR_EVENT(MGroupEvent)
};

}  // namespace vantor

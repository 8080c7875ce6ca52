#pragma once
// Track events: one track in a track list. A track event's node holds the
// track's content (its parts, markers, tempo or signature events, or for a
// folder the tracks inside it); the track's name is its node's name. The
// per-track settings (device, height, delay, automation) live in an MTrack
// that several track events may share.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "foundation/FRef.h"
#include "foundation/FStream.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MTrack.h"

namespace vantor {

class MDataNode;
class MTrackList;

// Keys of the track attribute set: four-character codes as 32-bit values,
// first letter in the highest byte. A missing attribute reads as 0, which is
// each attribute's default (not expanded, not solo, colour 0 = the kind's
// default colour, not selected, edit not enabled, no control flags).
namespace MTrackAttribute {
constexpr uint32_t kExpanded = fourCC("Expd");
constexpr uint32_t kSolo = fourCC("Solo");
constexpr uint32_t kColor = fourCC("Colr");
constexpr uint32_t kSelected = fourCC("Slct");
constexpr uint32_t kEditEnabled = fourCC("Edit");
constexpr uint32_t kControl = fourCC("Ctrl");
// The track's mixer channel: volume in hundredths of a decibel (0 = 0 dB,
// kVolumeOff and below = silent) and pan in percent from -100 (left) to
// 100 (right), 0 the centre. Muting a track is its event's muted flag.
constexpr uint32_t kVolume = fourCC("Volu");
constexpr uint32_t kPan = fourCC("Pan ");
constexpr int32_t kVolumeOff = -14400;
constexpr int32_t kVolumeMax = 1200;
constexpr int32_t kPanMax = 100;
}  // namespace MTrackAttribute

class MTrackEvent : public MEvent {
  VANTOR_CLASS(MTrackEvent)
 public:
  using Attribute = std::pair<uint32_t, int32_t>;

  MTrackEvent() = default;
  // A copy shares the original's node and MTrack and copies the attributes.
  MTrackEvent(const MTrackEvent& other);

  // The track's name: its node's name ("" without a node). Setting a name
  // gives a track without a node one of its kind first.
  std::string getName() const;
  void setName(std::string name);

  MTrack* getTrack() const { return track_.get(); }
  void setTrack(FRef<MTrack> track) { track_ = std::move(track); }

  // Attribute set: 0 for a missing code; setting 0 removes the code, so only
  // values that differ from the default are kept and written.
  int32_t getAttribute(uint32_t code) const;
  void setAttribute(uint32_t code, int32_t value);
  bool hasAttribute(uint32_t code) const;
  // The codes set, in ascending code order.
  const std::vector<Attribute>& attributes() const { return attributes_; }
  bool isExpanded() const { return getAttribute(MTrackAttribute::kExpanded) != 0; }
  bool isSolo() const { return getAttribute(MTrackAttribute::kSolo) != 0; }
  bool isTrackSelected() const { return getAttribute(MTrackAttribute::kSelected) != 0; }
  // Mixer volume in decibels (kVolumeOff / 100 or lower: silent) and pan
  // from -1 (left) to 1 (right), clamped to their ranges.
  double volumeDb() const;
  double pan() const;

  // A new, empty node of this track kind (parts list, marker list, tempo
  // node, ...), or nullptr when the node's class is not registered.
  virtual FRef<MDataNode> createNode() const = 0;
  // What the track's node may hold; the node gets this rule whenever the
  // track takes a node (set, created or read). The default holds anything.
  virtual MHoldRule holdRule() const { return {}; }
  // A new, empty part of the kind this track holds (with its node), or
  // nullptr for a track that holds no parts (marker, video, folder, device
  // tracks).
  virtual FRef<MPartEvent> createPart() const { return nullptr; }
  // Sets the node and gives it this track's hold rule.
  void setNode(FRef<MDataNode> node) override;
  // Gives the track a node of its kind and an MTrack where it lacks them.
  // False when the node's class is not registered.
  [[nodiscard]] bool ensureContent();

  // Archive: the event members, then "Track" (object record, may be none),
  // then the attribute set as a 32-bit count and per attribute its code
  // (32-bit) and value (32-bit), in ascending code order. Codes whose value
  // is 0 are not written; a stored 0 or a repeated code is ignored on read.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // Attributes: the event's, "Track", and each set code under its text
  // ("Expd", "Solo", ...).
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  FRef<MTrack> track_;
  std::vector<Attribute> attributes_;
};

// An audio track; its node (an MListNode) holds the track's parts.
class MAudioTrackEvent : public MTrackEvent {
  VANTOR_EVENT(MAudioTrackEvent)
 public:
  FRef<MDataNode> createNode() const override;
  MHoldRule holdRule() const override;
  FRef<MPartEvent> createPart() const override;
};

// A MIDI track; its node (an MListNode) holds the track's parts.
class MMidiTrackEvent : public MTrackEvent {
  VANTOR_EVENT(MMidiTrackEvent)
 public:
  FRef<MDataNode> createNode() const override;
  MHoldRule holdRule() const override;
  FRef<MPartEvent> createPart() const override;
};

// A folder track: its node is an MTrackList of further track events.
class MFolderTrack : public MTrackEvent {
  VANTOR_EVENT(MFolderTrack)
 public:
  FRef<MDataNode> createNode() const override;
  // The tracks inside the folder (nullptr without a node).
  MTrackList* getTrackList() const;
  // Also "Expanded" and "Solo" as named integer attributes (0 or 1); when
  // restoring, the named attributes win over the codes.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;
  // Archive (class version 1): the track event members, then "Expanded"
  // and "Solo" (16-bit, 0 or 1), which win over the codes when read.
  // Version 0 records end after the track event members.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
};

// What a device track is bound to. Stored as a 16-bit value.
enum class MDeviceKind : int16_t { kDevice = 0, kGroupChannel = 1, kMasterAutomation = 2 };

// A track bound to a device (a group channel, the master automation, ...);
// its node (an MListNode) holds the track's automation parts.
class MDeviceTrackEvent : public MTrackEvent {
  VANTOR_EVENT(MDeviceTrackEvent)
 public:
  MDeviceTrackEvent() = default;
  explicit MDeviceTrackEvent(MDeviceKind kind) : kind_(kind) {}
  MDeviceKind getDeviceKind() const { return kind_; }
  void setDeviceKind(MDeviceKind kind) { kind_ = kind; }
  FRef<MDataNode> createNode() const override;
  MHoldRule holdRule() const override;

  // Archive: the track event members, then the device kind (16-bit; an
  // unknown value reads as kDevice). Attribute "Device Kind".
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  MDeviceKind kind_ = MDeviceKind::kDevice;
};

// The project's marker track; its node (an MListNode named "Markers") holds
// the marker events.
class MMarkerTrackEvent : public MTrackEvent {
  VANTOR_EVENT(MMarkerTrackEvent)
 public:
  FRef<MDataNode> createNode() const override;
  MHoldRule holdRule() const override;
};

// The project's tempo track; its node is an "MTempoTrackNode", made by
// class name.
class MTempoTrackEvent : public MTrackEvent {
  VANTOR_EVENT(MTempoTrackEvent)
 public:
  FRef<MDataNode> createNode() const override;
};

// The project's signature track; its node is an "MSignatureTrackNode",
// made by class name.
class MSignatureTrackEvent : public MTrackEvent {
  VANTOR_EVENT(MSignatureTrackEvent)
 public:
  FRef<MDataNode> createNode() const override;
};

// A track that shows the data of the tracks inside a folder; its node (an
// MListNode) holds MFolderDataEvents.
class MFolderDataTrack : public MTrackEvent {
  VANTOR_EVENT(MFolderDataTrack)
 public:
  FRef<MDataNode> createNode() const override;
  MHoldRule holdRule() const override;
};

// A video track; its node (an MListNode) holds the video events.
class MVideoTrackEvent : public MTrackEvent {
  VANTOR_EVENT(MVideoTrackEvent)
 public:
  FRef<MDataNode> createNode() const override;
  MHoldRule holdRule() const override;
};

}  // namespace vantor

#pragma once
// An event: a placement on the time line (start, length, offset) with a word
// of state flags and the data node whose content it shows. Events are held
// by the node whose list or array contains them (their parent).
//
// Units: start, length and offset are in the time domain of the parent node:
// pulses (480 to the quarter note) in the musical domain, seconds in the
// linear domain.

#include <cstdint>

#include "foundation/CmIDLink.h"
#include "foundation/FRef.h"

namespace vantor {

class MDataNode;

// Bits of the event flag word. Bits 0x0008 and up may carry a meaning of
// their own in a subclass (the first signature, the marker bits).
namespace MEventFlag {
constexpr uint16_t kMuted = 0x0001;
constexpr uint16_t kLocked = 0x0002;          // edit-locked: moves and resizes refuse
constexpr uint16_t kSelected = 0x0004;        // never stored
constexpr uint16_t kFirst = 0x0008;           // the first signature of a project
constexpr uint16_t kMarkerShown = 0x0200;     // set on every new marker: shown in the ruler
constexpr uint16_t kMarkerNumbered = 0x2000;  // set on every new marker: takes part in numbering
}  // namespace MEventFlag

class MEvent : public CmIDLink {
  VANTOR_CLASS(MEvent)
 public:
  MEvent();
  // A copy shares the original's node; it has no parent and no ID.
  MEvent(const MEvent& other);
  MEvent& operator=(const MEvent&) = delete;
  ~MEvent() override;

  // Position operations, in this order; subclasses may store them in a form
  // of their own.
  virtual void setStart(double start);
  virtual double getStart() const;
  virtual void setLength(double length);
  virtual double getLength() const;
  virtual void setOffset(double offset);
  virtual double getOffset() const;
  virtual MDataNode* getNode() const;
  // The flag bits that are written to archives.
  virtual uint16_t persistentFlagsMask() const;
  virtual void setNode(FRef<MDataNode> node);
  // A new event of the same class with the same values, sharing the node.
  virtual FRef<MEvent> clone() const = 0;

  double getEnd() const { return getStart() + getLength(); }

  uint16_t getFlags() const { return flags_; }
  void setFlags(uint16_t flags) { flags_ = flags; }
  bool hasFlag(uint16_t bit) const { return (flags_ & bit) != 0; }
  void setFlag(uint16_t bit, bool on) { flags_ = on ? (flags_ | bit) : (flags_ & ~bit); }
  bool isMuted() const { return hasFlag(MEventFlag::kMuted); }
  bool isLocked() const { return hasFlag(MEventFlag::kLocked); }

  // The node that holds this event (not persistent; set on insertion).
  MDataNode* getParent() const { return parent_; }
  void setParent(MDataNode* parent) { parent_ = parent; }

  // Orders events of equal start: the order of first insertion, kept when
  // an event is taken out and put back, so an undone move restores the order.
  uint64_t orderKey() const { return order_; }
  void setOrderKey(uint64_t key) { order_ = key; }

  // Archive: flags (16-bit, masked), start, length, offset (doubles), node
  // (object record, none when empty), ID (32-bit).
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // Attributes "Flags", "Start", "Length", "Offset", "Node"; restoring ORs
  // the flags into those already set, and "Reset State" clears them first.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 protected:
  double start_ = 0;
  double length_ = 0;
  double offset_ = 0;

 private:
  FRef<MDataNode> node_;
  MDataNode* parent_ = nullptr;
  uint64_t order_ = 0;
  // Last, so that the small fields of a subclass (a part's colour, the bytes
  // of a MIDI event) fill the padding behind it: a project holds millions of
  // events.
  uint16_t flags_ = 0;
};

}  // namespace vantor

// Declares a concrete event class: its identity and its clone().
#define VANTOR_EVENT(Name)                                    \
  VANTOR_CLASS(Name)                                          \
  ::vantor::FRef<::vantor::MEvent> clone() const override {   \
    return ::vantor::FRef<::vantor::MEvent>(new Name(*this)); \
  }                                                           \
                                                              \
 public:

#pragma once
// Markers: named, numbered positions (MMarkerEvent) and ranges
// (MRangeMarkerEvent) on the project's marker track, and locator markers
// (MCycleEvent) tied to the transport's left or right locator.
//
// Marker IDs: a new marker gets ID 0; inserting it through the marker
// commands numbers it with the lowest ID from 1 up that no other marker of
// the track holds. Locator markers keep their IDs (1 left, others right) and
// take no part in numbering.

#include <cstdint>
#include <string>

#include "foundation/FRef.h"
#include "model/markers/MTransport.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/tree/MEventController.h"

namespace vantor {

class MMarkerEvent : public MEvent {
  VANTOR_EVENT(MMarkerEvent)
 public:
  // Empty name, ID 0, positions 0; flags 0x0200 and 0x2000.
  MMarkerEvent();

  const std::string& getName() const { return name_; }
  virtual void setName(std::string name) { name_ = std::move(name); }
  int32_t getMarkerID() const { return markerId_; }
  virtual void setMarkerID(int32_t id) { markerId_ = id; }

  // Archive: the event members, then "Name" (string) and "ID" (32-bit).
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // Attributes "Name" and "ID" beside the event's; scripting properties
  // "name", "start", "length" are the same values.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  std::string name_;
  int32_t markerId_ = 0;
};

// A named range: start and length both count.
class MRangeMarkerEvent : public MMarkerEvent {
  VANTOR_EVENT(MRangeMarkerEvent)
};

class MCycleEvent : public MMarkerEvent {
  VANTOR_EVENT(MCycleEvent)
 public:
  static constexpr const char* kLeftName = "Left Locator";
  static constexpr const char* kRightName = "Right Locator";

  // A locator marker of ID 0 (which follows the right locator), named as
  // that ID gives, as when made by class name.
  MCycleEvent();
  // A locator marker: takes domain, follows the locator of id while its
  // name and position are set, then stops following.
  MCycleEvent(int32_t id, FRef<MTransport> transport, MTimeDomain domain);

  // "Left Locator" for ID 1, "Right Locator" for any other.
  static const char* nameForID(int32_t id) { return id == 1 ? kLeftName : kRightName; }

  // The name always follows the ID.
  void setName(std::string name) override;
  void setMarkerID(int32_t id) override;
  // While following, the start is read from the locator on every call.
  double getStart() const override;

  bool isFollowing() const { return follow_; }
  void setFollowing(bool follow) { follow_ = follow; }
  MTimeDomain getDomain() const { return domain_; }
  void setDomain(MTimeDomain domain) { domain_ = domain; }
  MTransport* getTransport() const { return transport_.get(); }
  void setTransport(FRef<MTransport> transport) { transport_ = std::move(transport); }
  // The chosen locator's position in this event's domain (pulses, or
  // seconds through the transport's tempo map); the stored start without a
  // transport.
  double locatorPosition() const;

  // Archive: the marker members, then the follow flag and the domain
  // (16-bit each). The stored name is replaced by the one of the ID.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  bool follow_ = false;
  MTimeDomain domain_ = MTimeDomain::kMusical;
  FRef<MTransport> transport_;
};

// The lowest ID from 1 up that no marker in node holds (locator markers and
// except excluded).
int32_t nextFreeMarkerID(const MDataNode& node, const MMarkerEvent* except = nullptr);
// The plain or range marker of node with this ID, or nullptr.
MMarkerEvent* findMarkerByID(const MDataNode& node, int32_t id);

}  // namespace vantor

#include "model/markers/MMarkerEvent.h"

#include <algorithm>
#include <vector>

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"
#include "model/markers/MTransport.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MEventContainer.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MMarkerEvent, MEvent, 0)
VANTOR_DEFINE_CLASS(MRangeMarkerEvent, MMarkerEvent, 0)
VANTOR_DEFINE_CLASS(MCycleEvent, MMarkerEvent, 0)

MMarkerEvent::MMarkerEvent() {
  setFlag(MEventFlag::kMarkerShown, true);
  setFlag(MEventFlag::kMarkerNumbered, true);
}

bool MMarkerEvent::writeToArchive(FObjectArchive& archive) const {
  return MEvent::writeToArchive(archive) && archive.stream().writeString(name_) &&
         archive.stream().writeInt32(markerId_);
}

bool MMarkerEvent::readFromArchive(FObjectArchive& archive) {
  std::string name;
  int32_t id = 0;
  if (!MEvent::readFromArchive(archive) || !archive.stream().readString(&name) || !archive.stream().readInt32(&id)) {
    return false;
  }
  setMarkerID(id);
  setName(std::move(name));
  return true;
}

bool MMarkerEvent::storeAttributes(FAttributes& attributes) const {
  if (!MEvent::storeAttributes(attributes)) return false;
  attributes.setString("Name", name_);
  attributes.setInt("ID", markerId_);
  return true;
}

bool MMarkerEvent::restoreAttributes(const FAttributes& attributes) {
  if (!MEvent::restoreAttributes(attributes)) return false;
  int64_t id = 0;
  if (attributes.getInt("ID", &id)) setMarkerID(static_cast<int32_t>(id));
  std::string name;
  if (attributes.getString("Name", &name)) setName(std::move(name));
  return true;
}

MCycleEvent::MCycleEvent() { MMarkerEvent::setName(nameForID(getMarkerID())); }

MCycleEvent::MCycleEvent(int32_t id, FRef<MTransport> transport, MTimeDomain domain)
    : transport_(std::move(transport)) {
  domain_ = domain;
  follow_ = true;
  setMarkerID(id);
  // Taken while following: the locator's position becomes the stored start.
  setStart(locatorPosition());
  follow_ = false;
}

void MCycleEvent::setName(std::string) { MMarkerEvent::setName(nameForID(getMarkerID())); }

void MCycleEvent::setMarkerID(int32_t id) {
  MMarkerEvent::setMarkerID(id);
  MMarkerEvent::setName(nameForID(id));
}

double MCycleEvent::locatorPosition() const {
  if (!transport_) return MEvent::getStart();
  const double pulses = transport_->getLocator(getMarkerID());
  if (domain_ == MTimeDomain::kLinear) {
    const MTempoTrackNode* tempo = transport_->getTempo();
    return tempo != nullptr ? tempo->secondsAt(pulses) : pulses / 960.0;  // 120 BPM without a map
  }
  return pulses;
}

double MCycleEvent::getStart() const { return follow_ ? locatorPosition() : MEvent::getStart(); }

bool MCycleEvent::writeToArchive(FObjectArchive& archive) const {
  return MMarkerEvent::writeToArchive(archive) && archive.stream().writeInt16(follow_ ? 1 : 0) &&
         archive.stream().writeInt16(static_cast<int16_t>(domain_));
}

bool MCycleEvent::readFromArchive(FObjectArchive& archive) {
  int16_t follow = 0;
  int16_t domain = 0;
  if (!MMarkerEvent::readFromArchive(archive) || !archive.stream().readInt16(&follow) ||
      !archive.stream().readInt16(&domain)) {
    return false;
  }
  follow_ = follow != 0;
  domain_ = domain == 1 ? MTimeDomain::kLinear : MTimeDomain::kMusical;
  return true;
}

namespace {
bool takesPartInNumbering(const MEvent* event) {
  return dynamic_cast<const MMarkerEvent*>(event) != nullptr && dynamic_cast<const MCycleEvent*>(event) == nullptr;
}
}  // namespace

int32_t nextFreeMarkerID(const MDataNode& node, const MMarkerEvent* except) {
  const MEventContainer* events = node.events();
  std::vector<int32_t> taken;
  if (events != nullptr) {
    for (const auto& event : *events) {
      if (event.get() == except || !takesPartInNumbering(event.get())) continue;
      taken.push_back(static_cast<const MMarkerEvent*>(event.get())->getMarkerID());
    }
  }
  std::sort(taken.begin(), taken.end());
  int32_t id = 1;
  for (int32_t t : taken) {
    if (t == id)
      ++id;
    else if (t > id)
      break;
  }
  return id;
}

MMarkerEvent* findMarkerByID(const MDataNode& node, int32_t id) {
  const MEventContainer* events = node.events();
  if (events == nullptr) return nullptr;
  for (const auto& event : *events) {
    if (!takesPartInNumbering(event.get())) continue;
    auto* marker = static_cast<MMarkerEvent*>(event.get());
    if (marker->getMarkerID() == id) return marker;
  }
  return nullptr;
}

}  // namespace vantor

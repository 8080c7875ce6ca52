#include "model/tree/MTrackEvent.h"

#include <algorithm>
#include <array>

#include "foundation/FAttributes.h"
#include "foundation/FClassRegistry.h"
#include "foundation/FObjectArchive.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MTrackList.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(MTrackEvent, MEvent, 2)
VANTOR_DEFINE_CLASS(MAudioTrackEvent, MTrackEvent, 0)
VANTOR_DEFINE_CLASS(MMidiTrackEvent, MTrackEvent, 0)
VANTOR_DEFINE_CLASS(MFolderTrack, MTrackEvent, 1)
VANTOR_DEFINE_CLASS(MDeviceTrackEvent, MTrackEvent, 0)
VANTOR_DEFINE_CLASS(MMarkerTrackEvent, MTrackEvent, 0)
VANTOR_DEFINE_CLASS(MTempoTrackEvent, MTrackEvent, 1)
VANTOR_DEFINE_CLASS(MSignatureTrackEvent, MTrackEvent, 0)
VANTOR_DEFINE_CLASS(MFolderDataTrack, MTrackEvent, 0)
VANTOR_DEFINE_CLASS(MVideoTrackEvent, MTrackEvent, 0)

namespace {

constexpr std::array<uint32_t, 6> kKnownCodes = {MTrackAttribute::kExpanded,    MTrackAttribute::kSolo,
                                                 MTrackAttribute::kColor,       MTrackAttribute::kSelected,
                                                 MTrackAttribute::kEditEnabled, MTrackAttribute::kControl};

FRef<MDataNode> makeListNode(const char* name) {
  auto node = makeRef<MListNode>();
  node->setName(name);
  return node;
}

// Nodes whose classes live in another area of the model (tempo, signature)
// are made by class name; nullptr while that class is not registered.
FRef<MDataNode> makeNodeByName(const char* className, const char* name) {
  FRef<MDataNode> ref = refCast<MDataNode>(FClassRegistry::instance().create(className));
  if (!ref) return nullptr;
  if (ref->getName().empty()) ref->setName(name);
  return ref;
}

// What each kind of track holds. MIDI parts are the part events that are not
// audio parts; groups and virtual group placements may lie on either kind.
// Automation, video and folder-data events are named by class, as their
// classes live in other areas.
bool isAudioPart(const MEvent& e) {
  return dynamic_cast<const MAudioPartEvent*>(&e) != nullptr || e.isKindOf("MGroupEvent") ||
         e.isKindOf("MVirtualGroupEvent");
}
bool isMidiPart(const MEvent& e) {
  return (dynamic_cast<const MPartEvent*>(&e) != nullptr && dynamic_cast<const MAudioPartEvent*>(&e) == nullptr) ||
         e.isKindOf("MVirtualGroupEvent");
}
bool isMarker(const MEvent& e) { return e.isKindOf("MMarkerEvent"); }
bool isAutomation(const MEvent& e) { return e.isKindOf("MParamEvent"); }
bool isVideo(const MEvent& e) { return e.isKindOf("MVideoEvent"); }
bool isFolderData(const MEvent& e) { return e.isKindOf("MFolderDataEvent"); }

void stampHoldRule(const MTrackEvent& track) {
  if (MDataNode* node = track.getNode()) node->setHoldRule(track.holdRule());
}

}  // namespace

MTrackEvent::MTrackEvent(const MTrackEvent& other)
    : MEvent(other), track_(other.track_), attributes_(other.attributes_) {}

std::string MTrackEvent::getName() const {
  const MDataNode* node = getNode();
  return node != nullptr ? node->getName() : std::string();
}

void MTrackEvent::setName(std::string name) {
  if (getNode() == nullptr && !ensureContent()) return;
  getNode()->setName(std::move(name));
}

int32_t MTrackEvent::getAttribute(uint32_t code) const {
  auto it = std::lower_bound(attributes_.begin(), attributes_.end(), code,
                             [](const Attribute& a, uint32_t c) { return a.first < c; });
  return it != attributes_.end() && it->first == code ? it->second : 0;
}

double MTrackEvent::volumeDb() const {
  int32_t v = std::clamp(getAttribute(MTrackAttribute::kVolume), MTrackAttribute::kVolumeOff, MTrackAttribute::kVolumeMax);
  return v / 100.0;
}

double MTrackEvent::pan() const {
  int32_t p = std::clamp(getAttribute(MTrackAttribute::kPan), -MTrackAttribute::kPanMax, MTrackAttribute::kPanMax);
  return p / static_cast<double>(MTrackAttribute::kPanMax);
}

bool MTrackEvent::hasAttribute(uint32_t code) const { return getAttribute(code) != 0; }

void MTrackEvent::setAttribute(uint32_t code, int32_t value) {
  auto it = std::lower_bound(attributes_.begin(), attributes_.end(), code,
                             [](const Attribute& a, uint32_t c) { return a.first < c; });
  const bool present = it != attributes_.end() && it->first == code;
  if (value == 0) {
    if (present) attributes_.erase(it);
  } else if (present) {
    it->second = value;
  } else {
    attributes_.insert(it, {code, value});
  }
}

void MTrackEvent::setNode(FRef<MDataNode> node) {
  MEvent::setNode(std::move(node));
  stampHoldRule(*this);
}

bool MTrackEvent::ensureContent() {
  if (!track_) track_ = makeRef<MTrack>();
  if (getNode() != nullptr) return true;
  FRef<MDataNode> node = createNode();
  if (!node) return false;
  setNode(std::move(node));
  return true;
}

bool MTrackEvent::writeToArchive(FObjectArchive& archive) const {
  if (!MEvent::writeToArchive(archive) || !archive.writeObject(track_.get())) return false;
  FStream& s = archive.stream();
  if (!s.writeUInt32(static_cast<uint32_t>(attributes_.size()))) return false;
  for (const auto& [code, value] : attributes_) {
    if (!s.writeUInt32(code) || !s.writeInt32(value)) return false;
  }
  return true;
}

bool MTrackEvent::readFromArchive(FObjectArchive& archive) {
  if (!MEvent::readFromArchive(archive)) return false;
  stampHoldRule(*this);
  FRef<MTrack> track;
  if (!archive.readObjectAs(&track)) return false;
  track_ = std::move(track);
  FStream& s = archive.stream();
  uint32_t count = 0;
  if (!s.readUInt32(&count)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) * 8 > left) return false;
  attributes_.clear();
  attributes_.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t code = 0;
    int32_t value = 0;
    if (!s.readUInt32(&code) || !s.readInt32(&value)) return false;
    if (value != 0) attributes_.emplace_back(code, value);
  }
  // Sorted once; of a code stored twice the first non-zero value counts.
  std::stable_sort(attributes_.begin(), attributes_.end(),
                   [](const Attribute& a, const Attribute& b) { return a.first < b.first; });
  attributes_.erase(std::unique(attributes_.begin(), attributes_.end(),
                                [](const Attribute& a, const Attribute& b) { return a.first == b.first; }),
                    attributes_.end());
  return true;
}

bool MTrackEvent::storeAttributes(FAttributes& attributes) const {
  if (!MEvent::storeAttributes(attributes)) return false;
  if (track_) attributes.setObject("Track", FRef<CmObject>(track_));
  for (const auto& [code, value] : attributes_) attributes.setInt(fourCCText(code), value);
  return true;
}

bool MTrackEvent::restoreAttributes(const FAttributes& attributes) {
  if (!MEvent::restoreAttributes(attributes)) return false;
  stampHoldRule(*this);
  if (auto* track = dynamic_cast<MTrack*>(attributes.getObject("Track"))) track_ = FRef<MTrack>::share(track);
  for (uint32_t code : kKnownCodes) {
    int64_t value = 0;
    if (attributes.getInt(fourCCText(code), &value)) setAttribute(code, static_cast<int32_t>(value));
  }
  return true;
}

FRef<MDataNode> MAudioTrackEvent::createNode() const { return makeListNode("Audio"); }
FRef<MDataNode> MMidiTrackEvent::createNode() const { return makeListNode("MIDI"); }
FRef<MDataNode> MDeviceTrackEvent::createNode() const { return makeListNode("Device"); }
FRef<MDataNode> MMarkerTrackEvent::createNode() const { return makeListNode("Markers"); }
FRef<MDataNode> MFolderDataTrack::createNode() const { return makeListNode("Folder Data"); }
FRef<MDataNode> MVideoTrackEvent::createNode() const { return makeListNode("Video"); }
MHoldRule MAudioTrackEvent::holdRule() const { return {isAudioPart, "audio parts"}; }
MHoldRule MMidiTrackEvent::holdRule() const { return {isMidiPart, "MIDI parts"}; }
MHoldRule MMarkerTrackEvent::holdRule() const { return {isMarker, "markers"}; }
MHoldRule MDeviceTrackEvent::holdRule() const { return {isAutomation, "automation"}; }
MHoldRule MVideoTrackEvent::holdRule() const { return {isVideo, "video events"}; }
MHoldRule MFolderDataTrack::holdRule() const { return {isFolderData, "folder data"}; }

FRef<MPartEvent> MAudioTrackEvent::createPart() const {
  FRef<MPartEvent> part = makeRef<MAudioPartEvent>();
  part->setNode(part->createNode());
  return part;
}

// The MIDI layer's part classes are made by name; without that layer the
// part is a plain one.
FRef<MPartEvent> MMidiTrackEvent::createPart() const {
  FRef<MPartEvent> part = refCast<MPartEvent>(FClassRegistry::instance().create("MMidiPartEvent"));
  if (!part) part = makeRef<MPartEvent>();
  part->setNode(part->createNode());
  return part;
}

FRef<MDataNode> MTempoTrackEvent::createNode() const { return makeNodeByName("MTempoTrackNode", "Tempo"); }
FRef<MDataNode> MSignatureTrackEvent::createNode() const { return makeNodeByName("MSignatureTrackNode", "Signature"); }

FRef<MDataNode> MFolderTrack::createNode() const {
  auto list = makeRef<MTrackList>();
  list->setName("Folder");
  return list;
}

MTrackList* MFolderTrack::getTrackList() const { return dynamic_cast<MTrackList*>(getNode()); }

bool MFolderTrack::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return MTrackEvent::writeToArchive(archive) && s.writeInt16(isExpanded() ? 1 : 0) && s.writeInt16(isSolo() ? 1 : 0);
}

bool MFolderTrack::readFromArchive(FObjectArchive& archive) {
  if (!MTrackEvent::readFromArchive(archive)) return false;
  if (archive.currentClassVersion() < 1) return true;
  int16_t expanded = 0;
  int16_t solo = 0;
  FStream& s = archive.stream();
  if (!s.readInt16(&expanded) || !s.readInt16(&solo)) return false;
  setAttribute(MTrackAttribute::kExpanded, expanded != 0 ? 1 : 0);
  setAttribute(MTrackAttribute::kSolo, solo != 0 ? 1 : 0);
  return true;
}

bool MFolderTrack::storeAttributes(FAttributes& attributes) const {
  if (!MTrackEvent::storeAttributes(attributes)) return false;
  attributes.setInt("Expanded", isExpanded() ? 1 : 0);
  attributes.setInt("Solo", isSolo() ? 1 : 0);
  return true;
}

bool MFolderTrack::restoreAttributes(const FAttributes& attributes) {
  if (!MTrackEvent::restoreAttributes(attributes)) return false;
  int64_t value = 0;
  if (attributes.getInt("Expanded", &value)) setAttribute(MTrackAttribute::kExpanded, value != 0 ? 1 : 0);
  if (attributes.getInt("Solo", &value)) setAttribute(MTrackAttribute::kSolo, value != 0 ? 1 : 0);
  return true;
}

namespace {
MDeviceKind deviceKindFrom(int64_t value) {
  switch (value) {
    case 1:
      return MDeviceKind::kGroupChannel;
    case 2:
      return MDeviceKind::kMasterAutomation;
    default:
      return MDeviceKind::kDevice;
  }
}
}  // namespace

bool MDeviceTrackEvent::writeToArchive(FObjectArchive& archive) const {
  return MTrackEvent::writeToArchive(archive) && archive.stream().writeInt16(static_cast<int16_t>(kind_));
}

bool MDeviceTrackEvent::readFromArchive(FObjectArchive& archive) {
  int16_t kind = 0;
  if (!MTrackEvent::readFromArchive(archive) || !archive.stream().readInt16(&kind)) return false;
  kind_ = deviceKindFrom(kind);
  return true;
}

bool MDeviceTrackEvent::storeAttributes(FAttributes& attributes) const {
  if (!MTrackEvent::storeAttributes(attributes)) return false;
  attributes.setInt("Device Kind", static_cast<int64_t>(kind_));
  return true;
}

bool MDeviceTrackEvent::restoreAttributes(const FAttributes& attributes) {
  if (!MTrackEvent::restoreAttributes(attributes)) return false;
  int64_t kind = 0;
  if (attributes.getInt("Device Kind", &kind)) kind_ = deviceKindFrom(kind);
  return true;
}

}  // namespace vantor

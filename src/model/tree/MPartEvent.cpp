#include "model/tree/MPartEvent.h"

#include "foundation/FObjectArchive.h"

#include "model/tree/MDataNode.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MPartNode, MListNode, 0)
VANTOR_DEFINE_CLASS(MAudioPart, MPartNode, 0)
VANTOR_DEFINE_ABSTRACT_CLASS(MPartAccessor, MListAccessor, 0)
VANTOR_DEFINE_CLASS(MPartEvent, MEvent, 0)

// The colour lies in the padding behind the event's flag word: a part (and
// every event of its size) takes 72 bytes, not 80.
static_assert(sizeof(MPartEvent) <= 72);
VANTOR_DEFINE_CLASS(MAudioPartEvent, MPartEvent, 0)
VANTOR_DEFINE_CLASS(MGroupEvent, MPartEvent, 0)

namespace {
bool isAudioEvent(const MEvent& e) { return e.isKindOf("MAudioEvent"); }
}  // namespace

MAudioPart::MAudioPart() { setHoldRule({isAudioEvent, "audio events"}); }

FRef<MAccessor> MPartNode::getWriteAccessor() {
  if (isReadOnly()) return nullptr;
  return FRef<MAccessor>(new MPartAccessor(FRef<MDataNode>::share(this), &list(), true));
}

FRef<MAccessor> MPartNode::getReadAccessor() {
  return FRef<MAccessor>(new MPartAccessor(FRef<MDataNode>::share(this), &list(), false));
}

FRef<MDataNode> MPartEvent::createNode() const { return makeRef<MPartNode>(); }
FRef<MDataNode> MAudioPartEvent::createNode() const { return makeRef<MAudioPart>(); }

std::string MPartEvent::getName() const {
  const MDataNode* node = getNode();
  return node != nullptr ? node->getName() : std::string();
}

void MPartEvent::setName(std::string name) {
  if (getNode() == nullptr) setNode(createNode());
  getNode()->setName(std::move(name));
}

bool MPartEvent::writeToArchive(FObjectArchive& archive) const {
  return MEvent::writeToArchive(archive) && archive.stream().writeInt32(color_);
}

bool MPartEvent::readFromArchive(FObjectArchive& archive) {
  return MEvent::readFromArchive(archive) && archive.stream().readInt32(&color_);
}

std::optional<MPropertyValue> MPartEvent::getProperty(std::string_view name) const {
  if (name == "name") return MPropertyValue(getName());
  if (name == "start") return MPropertyValue(getStart());
  if (name == "length") return MPropertyValue(getLength());
  if (name == "offset") return MPropertyValue(getOffset());
  if (name == "muted") return MPropertyValue(isMuted());
  if (name == "locked") return MPropertyValue(isLocked());
  return std::nullopt;
}

bool MPartEvent::setProperty(std::string_view name, const MPropertyValue& value) {
  const auto* number = std::get_if<double>(&value);
  const auto* flag = std::get_if<bool>(&value);
  if (name == "name") {
    const auto* text = std::get_if<std::string>(&value);
    if (text == nullptr) return false;
    setName(*text);
  } else if (name == "start") {
    if (number == nullptr) return false;
    MDataNode* parent = getParent();
    if (parent == nullptr) {
      setStart(*number);
      return true;
    }
    // The node keeps its events in start order: take the part out, move it,
    // and put it back at its new place.
    FRef<MAccessor> accessor = parent->getWriteAccessor();
    if (!accessor) return false;
    FRef<MEvent> self = accessor->remove(this);
    if (!self) return false;
    setStart(*number);
    return accessor->insert(std::move(self));
  } else if (name == "length") {
    if (number == nullptr || *number < 0) return false;
    if (MDataNode* parent = getParent()) parent->extentWillChange(this);
    setLength(*number);
    if (MDataNode* parent = getParent()) parent->extentChanged(this);
  } else if (name == "offset") {
    if (number == nullptr) return false;
    setOffset(*number);
  } else if (name == "muted" || name == "locked") {
    if (flag == nullptr) return false;
    setFlag(name == "muted" ? MEventFlag::kMuted : MEventFlag::kLocked, *flag);
  } else {
    return false;
  }
  return true;
}

}  // namespace vantor

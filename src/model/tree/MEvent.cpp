#include "model/tree/MEvent.h"

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"
#include "model/tree/MDataNode.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(MEvent, CmIDLink, 1)

MEvent::MEvent(const MEvent& other)
    : CmIDLink(other),
      start_(other.start_),
      length_(other.length_),
      offset_(other.offset_),
      node_(other.node_),
      flags_(other.flags_ & ~MEventFlag::kSelected) {}

MEvent::MEvent() = default;
MEvent::~MEvent() = default;

void MEvent::setStart(double start) { start_ = start; }
double MEvent::getStart() const { return start_; }
void MEvent::setLength(double length) { length_ = length; }
double MEvent::getLength() const { return length_; }
void MEvent::setOffset(double offset) { offset_ = offset; }
double MEvent::getOffset() const { return offset_; }
MDataNode* MEvent::getNode() const { return node_.get(); }
uint16_t MEvent::persistentFlagsMask() const { return static_cast<uint16_t>(~MEventFlag::kSelected); }
void MEvent::setNode(FRef<MDataNode> node) { node_ = std::move(node); }

bool MEvent::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return s.writeUInt16(flags_ & persistentFlagsMask()) && s.writeDouble(getStart()) && s.writeDouble(getLength()) &&
         s.writeDouble(getOffset()) && archive.writeObject(node_.get()) && s.writeUInt32(getID());
}

bool MEvent::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  uint16_t flags = 0;
  double start = 0;
  double length = 0;
  double offset = 0;
  if (!s.readUInt16(&flags) || !s.readDouble(&start) || !s.readDouble(&length) || !s.readDouble(&offset)) {
    return false;
  }
  // The node may still be being read (a project written without its root
  // reads the root inside the project); the container that takes this event
  // refuses it then, as that would be a cycle of ownership.
  FRef<CmObject> object(archive.readObject());
  if (archive.failed()) return false;
  FRef<MDataNode> node = FRef<MDataNode>::share(dynamic_cast<MDataNode*>(object.get()));
  if (object && !node) return false;
  flags_ |= flags;
  setStart(start);
  setLength(length);
  setOffset(offset);
  node_ = std::move(node);
  uint32_t id = 0;
  if (!s.readUInt32(&id)) return false;
  setID(id);
  return true;
}

bool MEvent::storeAttributes(FAttributes& attributes) const {
  attributes.setClassName(getClassName());
  attributes.setInt("Flags", flags_ & persistentFlagsMask());
  attributes.setFloat("Start", getStart());
  attributes.setFloat("Length", getLength());
  attributes.setFloat("Offset", getOffset());
  if (node_) attributes.setObject("Node", FRef<CmObject>(node_));
  return true;
}

bool MEvent::restoreAttributes(const FAttributes& attributes) {
  int64_t reset = 0;
  if (attributes.getInt("Reset State", &reset) && reset != 0) flags_ = 0;
  int64_t flags = 0;
  if (attributes.getInt("Flags", &flags)) flags_ |= static_cast<uint16_t>(flags);
  double value = 0;
  if (attributes.getFloat("Start", &value)) setStart(value);
  if (attributes.getFloat("Length", &value)) setLength(value);
  if (attributes.getFloat("Offset", &value)) setOffset(value);
  if (auto* node = dynamic_cast<MDataNode*>(attributes.getObject("Node"))) node_ = FRef<MDataNode>::share(node);
  if (auto* parent = dynamic_cast<MDataNode*>(attributes.getObject("Parent"))) parent_ = parent;
  return true;
}

}  // namespace vantor

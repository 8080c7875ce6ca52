#include "model/tree/MArrayNode.h"

#include "model/tree/MAccessor.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MArrayNode, MDataNode, 0)
VANTOR_DEFINE_CLASS(MListNode, MDataNode, 0)

FRef<MAccessor> MArrayNode::getWriteAccessor() {
  if (isReadOnly()) return nullptr;
  return FRef<MAccessor>(new MArrayAccessor(FRef<MDataNode>::share(this), &events_, true));
}
FRef<MAccessor> MArrayNode::getReadAccessor() {
  return FRef<MAccessor>(new MArrayAccessor(FRef<MDataNode>::share(this), &events_, false));
}

bool MArrayNode::writeToArchive(FObjectArchive& archive) const {
  return MDataNode::writeToArchive(archive) && writeEventContainer(archive, events_);
}
bool MArrayNode::readFromArchive(FObjectArchive& archive) {
  return MDataNode::readFromArchive(archive) && readEventContainer(archive, events_);
}

FRef<MAccessor> MListNode::getWriteAccessor() {
  if (isReadOnly()) return nullptr;
  return FRef<MAccessor>(new MListAccessor(FRef<MDataNode>::share(this), &events_, true));
}
FRef<MAccessor> MListNode::getReadAccessor() {
  return FRef<MAccessor>(new MListAccessor(FRef<MDataNode>::share(this), &events_, false));
}

bool MListNode::writeToArchive(FObjectArchive& archive) const {
  return MDataNode::writeToArchive(archive) && writeEventContainer(archive, events_);
}
bool MListNode::readFromArchive(FObjectArchive& archive) {
  return MDataNode::readFromArchive(archive) && readEventContainer(archive, events_);
}

}  // namespace vantor

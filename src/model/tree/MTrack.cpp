#include "model/tree/MTrack.h"

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MAutomationNode, MListNode, 0)
VANTOR_DEFINE_CLASS(MTrack, FShared, 1)

MTrack::MTrack() : automation_(makeRef<MAutomationNode>()) { automation_->setName("Automation"); }

bool MTrack::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return s.writeString(device_.outputName) && s.writeInt32(device_.channel) && s.writeInt32(height_) &&
         s.writeDouble(delay_) && archive.writeObject(automation_.get());
}

bool MTrack::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  if (!s.readString(&device_.outputName) || !s.readInt32(&device_.channel) || !s.readInt32(&height_) ||
      !s.readDouble(&delay_)) {
    return false;
  }
  // Version 0 tracks had no automation: keep the empty node made above.
  if (archive.currentClassVersion() < 1) return true;
  FRef<MAutomationNode> automation;
  if (!archive.readObjectAs(&automation)) return false;
  if (automation) automation_ = std::move(automation);
  return true;
}

bool MTrack::storeAttributes(FAttributes& attributes) const {
  attributes.setClassName(getClassName());
  auto device = makeRef<FAttributes>();
  device->setString("Name", device_.outputName);
  device->setInt("Channel", device_.channel);
  attributes.setAttributes("Track Device", std::move(device));
  attributes.setInt("Height", height_);
  attributes.setFloat("Delay", delay_);
  attributes.setObject("Automation", FRef<CmObject>(automation_));
  return true;
}

bool MTrack::restoreAttributes(const FAttributes& attributes) {
  if (const FAttributes* device = attributes.getAttributes("Track Device")) {
    std::string name;
    if (device->getString("Name", &name)) device_.outputName = std::move(name);
    int64_t channel = 0;
    if (device->getInt("Channel", &channel)) device_.channel = static_cast<int32_t>(channel);
  }
  int64_t height = 0;
  if (attributes.getInt("Height", &height)) height_ = static_cast<int32_t>(height);
  double delay = 0;
  if (attributes.getFloat("Delay", &delay)) delay_ = delay;
  if (auto* automation = dynamic_cast<MAutomationNode*>(attributes.getObject("Automation"))) {
    automation_ = FRef<MAutomationNode>::share(automation);
  }
  return true;
}

}  // namespace vantor

#include "model/tree/MDataNode.h"

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"
#include "model/tree/MAccessor.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(GModel, FShared, 0)
VANTOR_DEFINE_CLASS(MDataNode, GModel, 0)

MDataNode::MDataNode(const MDataNode& other) : GModel(other), name_(other.name_), domain_(other.domain_) {}

FRef<MAccessor> MDataNode::getWriteAccessor() { return nullptr; }
FRef<MAccessor> MDataNode::getReadAccessor() { return nullptr; }

void MDataNode::extentWillChange(MEvent*) {}
void MDataNode::extentChanged(MEvent*) { noteChange(); }
void MDataNode::eventsChanged() { noteChange(); }

bool MDataNode::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return s.writeString(name_) && s.writeInt16(static_cast<int16_t>(domain_));
}

bool MDataNode::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  int16_t domain = 0;
  if (!s.readString(&name_) || !s.readInt16(&domain)) return false;
  domain_ = domain == 1 ? MTimeDomain::kLinear : MTimeDomain::kMusical;
  return true;
}

bool MDataNode::storeAttributes(FAttributes& attributes) const {
  attributes.setClassName(getClassName());
  attributes.setString("Name", name_);
  attributes.setInt("Domain", static_cast<int64_t>(domain_));
  return true;
}

bool MDataNode::restoreAttributes(const FAttributes& attributes) {
  std::string name;
  if (attributes.getString("Name", &name)) name_ = std::move(name);
  int64_t domain = 0;
  if (attributes.getInt("Domain", &domain)) domain_ = domain == 1 ? MTimeDomain::kLinear : MTimeDomain::kMusical;
  return true;
}

std::string MDataNode::holdRefusal(const MEvent& event) const {
  if (holdRule_.accepts == nullptr || holdRule_.accepts(event)) return {};
  return "\"" + name_ + "\" holds only " + (holdRule_.what != nullptr ? holdRule_.what : "other events");
}

}  // namespace vantor

#include "model/tree/MAccessor.h"

#include "model/tree/MEventContainer.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(MAccessor, FShared, 0)
VANTOR_DEFINE_ABSTRACT_CLASS(MArrayAccessor, MAccessor, 0)
VANTOR_DEFINE_ABSTRACT_CLASS(MListAccessor, MAccessor, 0)

MAccessor::MAccessor(FRef<MDataNode> node, MEventContainer* events, bool writable)
    : node_(std::move(node)), events_(events), writable_(writable) {}

size_t MAccessor::count() const { return events_ != nullptr ? events_->size() : 0; }

MEvent* MAccessor::at(size_t index) const {
  return events_ != nullptr && index < events_->size() ? events_->at(index) : nullptr;
}

size_t MAccessor::indexOf(const MEvent* event) const {
  return events_ != nullptr ? events_->indexOf(event) : MEventContainer::npos;
}

bool MAccessor::insert(FRef<MEvent> event) {
  if (!writable_ || events_ == nullptr || !event) return false;
  events_->insert(std::move(event));
  node_->eventsChanged();
  return true;
}

FRef<MEvent> MAccessor::remove(MEvent* event) {
  if (!writable_ || events_ == nullptr) return nullptr;
  FRef<MEvent> taken = events_->remove(event);
  if (taken) node_->eventsChanged();
  return taken;
}

bool MAccessor::reorder() {
  if (!writable_ || events_ == nullptr) return false;
  events_->sortAfterAppend();
  node_->eventsChanged();
  return true;
}

void MAccessor::extentWillChange(MEvent* event) {
  if (node_) node_->extentWillChange(event);
}

void MAccessor::extentChanged(MEvent* event) {
  if (node_) node_->extentChanged(event);
}

}  // namespace vantor

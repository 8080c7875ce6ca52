#include "model/tree/MEventContainer.h"

#include <algorithm>
#include <atomic>

#include "foundation/FObjectArchive.h"
#include "model/tree/MDataNode.h"

namespace vantor {

namespace {
bool before(const MEvent* a, const MEvent* b) {
  const double sa = a->getStart();
  const double sb = b->getStart();
  if (sa != sb) return sa < sb;
  return a->orderKey() < b->orderKey();
}
}  // namespace

MEventContainer::~MEventContainer() { clear(); }

uint64_t MEventContainer::nextOrderKey() {
  static std::atomic<uint64_t> counter{0};
  return ++counter;
}

size_t MEventContainer::insert(FRef<MEvent> event) {
  if (event->orderKey() == 0) event->setOrderKey(nextOrderKey());
  event->setParent(owner_);
  auto it = std::upper_bound(events_.begin(), events_.end(), event.get(),
                             [](const MEvent* e, const FRef<MEvent>& x) { return before(e, x.get()); });
  const auto index = static_cast<size_t>(it - events_.begin());
  events_.insert(it, std::move(event));
  return index;
}

size_t MEventContainer::indexOf(const MEvent* event) const {
  auto it = std::lower_bound(events_.begin(), events_.end(), event,
                             [](const FRef<MEvent>& x, const MEvent* e) { return before(x.get(), e); });
  if (it != events_.end() && it->get() == event) return static_cast<size_t>(it - events_.begin());
  // The event's start changed while it was held here: look it up linearly.
  for (size_t i = 0; i < events_.size(); ++i) {
    if (events_[i].get() == event) return i;
  }
  return npos;
}

FRef<MEvent> MEventContainer::remove(MEvent* event) {
  const size_t index = indexOf(event);
  if (index == npos) return nullptr;
  FRef<MEvent> taken = std::move(events_[index]);
  events_.erase(events_.begin() + static_cast<std::ptrdiff_t>(index));
  taken->setParent(nullptr);
  return taken;
}

void MEventContainer::append(FRef<MEvent> event) {
  if (event->orderKey() == 0) event->setOrderKey(nextOrderKey());
  event->setParent(owner_);
  events_.push_back(std::move(event));
}

void MEventContainer::sortAfterAppend() {
  const auto order = [](const FRef<MEvent>& a, const FRef<MEvent>& b) { return before(a.get(), b.get()); };
  // Bulk edits often leave the order as it was: a check is cheaper than a sort.
  if (std::is_sorted(events_.begin(), events_.end(), order)) return;
  std::stable_sort(events_.begin(), events_.end(), order);
}

void MEventContainer::clear() {
  for (auto& event : events_) {
    if (event->getParent() == owner_) event->setParent(nullptr);
  }
  events_.clear();
}

size_t MEventContainer::lowerBound(double start) const {
  auto it = std::lower_bound(events_.begin(), events_.end(), start,
                             [](const FRef<MEvent>& x, double s) { return x->getStart() < s; });
  return static_cast<size_t>(it - events_.begin());
}

bool writeEventContainer(FObjectArchive& archive, const MEventContainer& events) {
  if (!archive.stream().writeUInt32(static_cast<uint32_t>(events.size()))) return false;
  for (const auto& event : events) {
    if (!archive.writeObject(event.get())) return false;
  }
  return true;
}

bool readEventContainer(FObjectArchive& archive, MEventContainer& events) {
  uint32_t count = 0;
  if (!archive.stream().readUInt32(&count)) return false;
  // Every record takes at least two bytes: a count beyond that is damage.
  const int64_t left = archive.stream().remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) * 2 > left) return false;
  for (uint32_t i = 0; i < count; ++i) {
    FRef<MEvent> event;
    // An event lives in one node: a second appearance is damage, and so is
    // an event showing a node that encloses it (it would own itself).
    if (!archive.readObjectAs(&event) || archive.lastWasBackReference()) return false;
    if (event && archive.isBeingRead(event->getNode())) return false;
    // Events of classes this program does not know are dropped.
    if (event) events.append(std::move(event));
  }
  events.sortAfterAppend();
  return true;
}

}  // namespace vantor

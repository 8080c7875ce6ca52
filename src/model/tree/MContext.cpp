#include "model/tree/MContext.h"

#include <algorithm>
#include <cmath>

#include "model/tree/MAccessor.h"
#include "model/tree/MProject.h"

namespace vantor {

bool MEditCandidateList::add(FRef<MEvent> event) {
  if (!event || !members_.insert(event.get()).second) return false;
  events_.push_back(std::move(event));
  return true;
}

bool MEditCandidateList::remove(const MEvent* event) {
  if (members_.count(event) == 0) return false;
  auto it = std::find_if(events_.begin(), events_.end(), [event](const FRef<MEvent>& e) { return e.get() == event; });
  if (it == events_.end()) return false;
  members_.erase(event);
  events_.erase(it);
  return true;
}

bool MEditCandidateList::contains(const MEvent* event) const { return members_.count(event) != 0; }

size_t MEditCandidateList::removeLocked() {
  const size_t before = events_.size();
  std::erase_if(events_, [this](const FRef<MEvent>& e) {
    if (!e->isLocked()) return false;
    members_.erase(e.get());
    return true;
  });
  return before - events_.size();
}

MContext::MContext(FRef<MProject> project) : project_(std::move(project)) {}
MContext::~MContext() = default;
void MContext::setProject(FRef<MProject> project) { project_ = std::move(project); }

MEditContext::~MEditContext() { clearSelection(); }

bool MEditContext::select(MEvent* event) {
  if (event == nullptr || !selected_.insert(event).second) return false;
  event->setFlag(MEventFlag::kSelected, true);
  selection_.push_back(FRef<MEvent>::share(event));
  return true;
}

bool MEditContext::deselect(MEvent* event) {
  if (selected_.count(event) == 0) return false;
  auto it =
      std::find_if(selection_.begin(), selection_.end(), [event](const FRef<MEvent>& e) { return e.get() == event; });
  if (it == selection_.end()) return false;
  event->setFlag(MEventFlag::kSelected, false);
  selected_.erase(event);
  selection_.erase(it);
  return true;
}

void MEditContext::clearSelection() {
  for (auto& event : selection_) event->setFlag(MEventFlag::kSelected, false);
  selection_.clear();
  selected_.clear();
}

bool MEditContext::isSelected(const MEvent* event) const { return selected_.count(event) != 0; }

MEditCandidateList MEditContext::getCandidates() const {
  MEditCandidateList list;
  if (!selection_.empty()) {
    for (const auto& event : selection_) list.add(event);
    return list;
  }
  if (!target_) return list;
  FRef<MAccessor> accessor = target_->getReadAccessor();
  if (!accessor) return list;
  for (size_t i = 0; i < accessor->count(); ++i) list.add(FRef<MEvent>::share(accessor->at(i)));
  return list;
}

bool MPlayContext::setRange(double start, double end) {
  if (!std::isfinite(start) || !std::isfinite(end) || end < start) return false;
  start_ = start;
  end_ = end;
  return true;
}

}  // namespace vantor

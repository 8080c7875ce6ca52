#include "model/edit/MNodeCommands.h"

#include <cmath>

#include "model/time/MTempoTrack.h"
#include "model/time/MTimeRange.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MEventContainer.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MSetNodeCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MNodeDomainCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MEventDomainCommand, MCommand, 0)

// ---- MSetNodeCommand --------------------------------------------------------

MSetNodeCommand::MSetNodeCommand(FRef<MEvent> event, FRef<MDataNode> node)
    : event_(std::move(event)), node_(std::move(node)) {}

bool MSetNodeCommand::exchange() {
  MDataNode* parent = event_->getParent();
  FRef<MAccessor> accessor = writeAccessorOf(parent);
  if (parent != nullptr && (!accessor || accessor->indexOf(event_.get()) == MEventContainer::npos)) return false;
  if (accessor) accessor->extentWillChange(event_.get());
  FRef<MDataNode> old = FRef<MDataNode>::share(event_->getNode());
  event_->setNode(std::move(node_));
  node_ = std::move(old);
  if (accessor) accessor->extentChanged(event_.get());
  return true;
}

// ---- Domain changes ---------------------------------------------------------

namespace {
// A position relative to origin (pulses) converted into the other domain.
double convert(const MTempoTrackNode& tempo, double origin, double position, MTimeDomain to) {
  if (to == MTimeDomain::kLinear) return tempo.secondsAt(origin + position) - tempo.secondsAt(origin);
  return tempo.pulsesAt(tempo.secondsAt(origin) + position) - origin;
}
}  // namespace

bool prepareDomainChange(MDomainChange& change, const MTempoTrackNode* tempo, double originPulses) {
  MDataNode* node = change.node.get();
  if (node == nullptr || node->isReadOnly() || node->getDomain() == change.domain) return false;
  change.extents.clear();
  FRef<MAccessor> reader = node->getReadAccessor();
  if (tempo == nullptr || !reader) return true;
  change.extents.reserve(reader->count());
  for (size_t i = 0; i < reader->count(); ++i) {
    MEvent* event = reader->at(i);
    const double start = convert(*tempo, originPulses, event->getStart(), change.domain);
    const double end = convert(*tempo, originPulses, event->getEnd(), change.domain);
    const double origin = convert(*tempo, originPulses, event->getStart() - event->getOffset(), change.domain);
    // Seconds far out become pulses beyond the position range: refused like
    // any other edit that would place an event there.
    if (!std::isfinite(start) || !std::isfinite(origin) || !(end <= MTimeRange::kMaxPosition)) return false;
    change.extents.push_back({FRef<MEvent>::share(event), start, end - start, start - origin});
  }
  return true;
}

bool exchangeDomain(MDomainChange& change) {
  MDataNode* node = change.node.get();
  if (node == nullptr || node->isReadOnly()) return false;
  FRef<MAccessor> accessor = node->getWriteAccessor();
  if (!accessor && node->events() != nullptr) return false;
  for (const MEventExtent& extent : change.extents) {
    if (extent.event->getParent() != node) return false;
  }
  const MTimeDomain old = node->getDomain();
  node->setDomain(change.domain);
  change.domain = old;
  for (MEventExtent& extent : change.extents) {
    MEvent& event = *extent.event;
    const MEventExtent now{nullptr, event.getStart(), event.getLength(), event.getOffset()};
    event.setStart(extent.start);
    event.setLength(extent.length);
    event.setOffset(extent.offset);
    extent.start = now.start;
    extent.length = now.length;
    extent.offset = now.offset;
  }
  if (!change.extents.empty()) {
    // A conversion keeps the order of distinct starts but rounding may make
    // two of them equal; one stable sort by (start, order key) restores the
    // container's order exactly, the same way on every exchange.
    if (MEventContainer* events = node->events()) events->sortAfterAppend();
    node->eventsChanged();
  }
  node->deferChanged(kDomainChangedMessage);
  return true;
}

// ---- MNodeDomainCommand -----------------------------------------------------

MNodeDomainCommand::MNodeDomainCommand(FRef<MDataNode> node, MTimeDomain domain, FRef<MTempoTrackNode> tempo)
    : change_{std::move(node), domain, {}}, tempo_(std::move(tempo)) {}

size_t MNodeDomainCommand::heldBytes() const {
  return MCommand::heldBytes() + change_.extents.capacity() * sizeof(MEventExtent);
}

bool MNodeDomainCommand::doPerform() {
  if (!prepareDomainChange(change_, tempo_.get(), 0) || !exchange()) return false;
  // The tempo track was needed only to compute the new positions.
  tempo_ = nullptr;
  return true;
}

bool MNodeDomainCommand::exchange() { return exchangeDomain(change_); }

// ---- MEventDomainCommand ----------------------------------------------------

MEventDomainCommand::MEventDomainCommand(FRef<MEvent> event, MTimeDomain domain, FRef<MTempoTrackNode> tempo)
    : event_(std::move(event)), tempo_(std::move(tempo)) {
  change_.domain = domain;
}

size_t MEventDomainCommand::heldBytes() const {
  return MCommand::heldBytes() + change_.extents.capacity() * sizeof(MEventExtent);
}

double MEventDomainCommand::originPulses() const {
  const double origin = event_->getStart() - event_->getOffset();
  const MDataNode* parent = event_->getParent();
  if (tempo_ && parent != nullptr && parent->getDomain() == MTimeDomain::kLinear) return tempo_->pulsesAt(origin);
  return origin;
}

bool MEventDomainCommand::doPerform() {
  if (!event_) return false;
  change_.node = FRef<MDataNode>::share(event_->getNode());
  if (!prepareDomainChange(change_, tempo_.get(), tempo_ ? originPulses() : 0) || !exchange()) return false;
  tempo_ = nullptr;
  return true;
}

bool MEventDomainCommand::exchange() {
  if (!exchangeDomain(change_)) return false;
  event_->deferChanged(kDomainChangedMessage);
  return true;
}

}  // namespace vantor

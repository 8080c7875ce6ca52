#include "model/tree/MProject.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "foundation/FObjectArchive.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MEventController.h"
#include "model/tree/MName.h"
#include "model/tree/MRoot.h"
#include "model/tree/MVirtualGroup.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MProject, MListNode, 0)

namespace {

constexpr uint32_t kNoID = 0;
constexpr uint32_t kLastID = std::numeric_limits<uint32_t>::max();

// Depth-first walk over events and the events in their nodes (and in their
// tracks' automation), each node entered once. Children are read from the
// node's container directly (no accessor, so a node being destroyed can be
// walked), from a track list, or from a read accessor for other nodes.
class EventWalker {
 public:
  explicit EventWalker(std::function<void(MEvent&)> visit) : visit_(std::move(visit)) {}

  void markEntered(const MDataNode* node) { entered_.insert(node); }
  void push(MEvent* event) {
    if (event != nullptr) stack_.push_back(event);
  }
  void pushNode(MDataNode* node) {
    if (node == nullptr || !entered_.insert(node).second) return;
    const size_t first = stack_.size();
    if (MEventContainer* events = node->events()) {
      for (const auto& event : *events) stack_.push_back(event.get());
    } else if (auto* list = dynamic_cast<MTrackList*>(node)) {
      for (size_t i = 0; i < list->count(); ++i) stack_.push_back(list->at(i));
    } else if (dynamic_cast<MVirtualGroup*>(node) == nullptr) {
      // Virtual groups name events that live elsewhere; other nodes are
      // read through their accessor.
      if (FRef<MAccessor> accessor = node->getReadAccessor()) {
        for (size_t i = 0; i < accessor->count(); ++i) push(accessor->at(i));
      }
    }
    // Visit in order: the stack pops the last pushed first.
    std::reverse(stack_.begin() + static_cast<std::ptrdiff_t>(first), stack_.end());
  }
  void run() {
    while (!stack_.empty()) {
      MEvent* event = stack_.back();
      stack_.pop_back();
      visit_(*event);
      if (auto* track = dynamic_cast<MTrackEvent*>(event); track != nullptr && track->getTrack() != nullptr) {
        pushNode(track->getTrack()->getAutomation());
      }
      pushNode(event->getNode());
    }
  }

 private:
  std::function<void(MEvent&)> visit_;
  std::vector<MEvent*> stack_;
  std::unordered_set<const MDataNode*> entered_;
};

}  // namespace

// --- MEventIDTable -----------------------------------------------------------

size_t MEventIDTable::lowerBound(uint32_t id) const {
  return static_cast<size_t>(std::lower_bound(ids_.begin(), ids_.end(), id) - ids_.begin());
}

MEvent* MEventIDTable::find(uint32_t id) const {
  if (id == kNoID) return nullptr;
  const size_t index = lowerBound(id);
  return index < ids_.size() && ids_[index] == id ? events_[index].get() : nullptr;
}

uint32_t MEventIDTable::assign(MEvent* event) {
  if (event == nullptr) return kNoID;
  uint32_t id = event->getID();
  if (id != kNoID) {
    const size_t index = lowerBound(id);
    if (index < ids_.size() && ids_[index] == id) {
      if (events_[index].get() == event) return id;
      id = kNoID;  // taken by another event: give a fresh one below
    } else if (id != kLastID) {
      // A free ID the event brought with it (an undone removal, a paste):
      // keep it, and keep the counter above it.
      const auto at = static_cast<std::ptrdiff_t>(index);
      ids_.insert(ids_.begin() + at, id);
      events_.insert(events_.begin() + at, FRef<MEvent>::share(event));
      next_ = std::max(next_, id + 1);
      return id;
    }
  }
  if (ids_.size() >= compactAt_) {
    compact();
    compactAt_ = std::max<size_t>(4096, ids_.size() * 2);
  }
  // IDs are exhausted only in damaged data that named the last ones; the
  // event then stays without an ID.
  if (next_ == kLastID) {
    event->setID(kNoID);
    return kNoID;
  }
  id = next_++;
  event->setID(id);
  ids_.push_back(id);
  events_.push_back(FRef<MEvent>::share(event));
  return id;
}

void MEventIDTable::beginRebuild(size_t expected) {
  ids_.clear();
  events_.clear();
  fresh_.clear();
  ids_.reserve(expected);
  events_.reserve(expected);
}

void MEventIDTable::enter(MEvent* event) {
  if (event->getID() != kNoID && event->getID() != kLastID) {
    ids_.push_back(event->getID());
    events_.push_back(FRef<MEvent>::share(event));
  } else {
    fresh_.push_back(event);
  }
}

void MEventIDTable::sortByID() {
  // Stable: of events sharing an ID, the first in tree order stays first.
  std::vector<uint32_t> order(ids_.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = static_cast<uint32_t>(i);
  std::stable_sort(order.begin(), order.end(), [this](uint32_t a, uint32_t b) { return ids_[a] < ids_[b]; });
  std::vector<uint32_t> ids(order.size());
  std::vector<FRef<MEvent>> events(order.size());
  for (size_t i = 0; i < order.size(); ++i) {
    ids[i] = ids_[order[i]];
    events[i] = std::move(events_[order[i]]);
  }
  ids_ = std::move(ids);
  events_ = std::move(events);
}

void MEventIDTable::dropRepeatedIDs() {
  // The first holder in tree order keeps a repeated ID; the later ones get
  // fresh IDs after the events that had none, in the order of their IDs.
  size_t kept = 0;
  for (size_t i = 0; i < ids_.size(); ++i) {
    if (kept > 0 && ids_[kept - 1] == ids_[i]) {
      fresh_.push_back(events_[i].get());
      events_[i] = nullptr;
      continue;
    }
    ids_[kept] = ids_[i];
    if (kept != i) events_[kept] = std::move(events_[i]);
    ++kept;
  }
  ids_.resize(kept);
  events_.resize(kept);
}

void MEventIDTable::endRebuild() {
  // A tree whose IDs were given in the order it is walked (the usual case)
  // is sorted already and needs no room for sorting.
  if (!std::is_sorted(ids_.begin(), ids_.end())) sortByID();
  dropRepeatedIDs();
  if (!ids_.empty()) next_ = std::max(next_, ids_.back() + 1);
  compactAt_ = std::max<size_t>(4096, (ids_.size() + fresh_.size()) * 2);
  std::vector<MEvent*> fresh = std::move(fresh_);
  fresh_ = {};
  for (MEvent* event : fresh) {
    event->setID(kNoID);
    assign(event);
  }
}

void MEventIDTable::compact() {
  size_t kept = 0;
  for (size_t i = 0; i < ids_.size(); ++i) {
    if (events_[i]->getRefCount() <= 1) continue;
    ids_[kept] = ids_[i];
    if (kept != i) events_[kept] = std::move(events_[i]);
    ++kept;
  }
  ids_.resize(kept);
  events_.resize(kept);
}

void MEventIDTable::clear() {
  ids_.clear();
  events_.clear();
}

// --- MProject ----------------------------------------------------------------

MProject::MProject() : trackList_(makeRef<MTrackList>()), autoFade_(makeRef<MAutoFadeSetting>()) {
  trackList_->setName("Tracks");
}

MProject::~MProject() {
  // A virtual group holds its members; a member that holds the group
  // through its node would otherwise keep both alive.
  forEachEvent([](MEvent& event) {
    if (auto* group = dynamic_cast<MVirtualGroup*>(event.getNode())) group->releaseMembers();
  });
  ids_.clear();
}

void MProject::placeTrack(MTrackEvent* track) {
  if (track != nullptr) track->setParent(this);
}

MTempoTrackNode* MProject::getTempoNode() const {
  return tempo_ ? dynamic_cast<MTempoTrackNode*>(tempo_->getNode()) : nullptr;
}

MSignatureTrackNode* MProject::getSignatureNode() const {
  return signature_ ? dynamic_cast<MSignatureTrackNode*>(signature_->getNode()) : nullptr;
}

void MProject::setMarkerTrack(FRef<MMarkerTrackEvent> track) {
  marker_ = std::move(track);
  placeTrack(marker_.get());
}

void MProject::setTempoTrack(FRef<MTempoTrackEvent> track) {
  tempo_ = std::move(track);
  placeTrack(tempo_.get());
}

void MProject::setSignatureTrack(FRef<MSignatureTrackEvent> track) {
  signature_ = std::move(track);
  placeTrack(signature_.get());
}

FRef<MRoot> MProject::createNew() {
  auto project = makeRef<MProject>();
  project->setName("Project");
  auto marker = makeRef<MMarkerTrackEvent>();
  auto tempo = makeRef<MTempoTrackEvent>();
  auto signature = makeRef<MSignatureTrackEvent>();
  if (!marker->ensureContent() || !tempo->ensureContent() || !signature->ensureContent()) return nullptr;
  project->setMarkerTrack(std::move(marker));
  project->setTempoTrack(std::move(tempo));
  project->setSignatureTrack(std::move(signature));
  auto root = makeRef<MRoot>();
  root->setNode(project);
  project->assignEventIDs();
  return root;
}

FRef<MTrackEvent> MProject::createTrack(std::string_view kind, std::string name) {
  if (!isValidName(name)) return nullptr;
  FRef<CmObject> object = MCategoryRegistry::instance().create(MCategoryRegistry::kTrackClass, kind);
  auto* track = dynamic_cast<MTrackEvent*>(object.get());
  if (track == nullptr || !track->ensureContent()) return nullptr;
  track->setName(std::move(name));
  return FRef<MTrackEvent>::share(track);
}

bool MProject::addTrack(FRef<MTrackEvent> track, size_t index) {
  MTrackEvent* added = track.get();
  if (!trackList_->insert(std::move(track), index)) return false;
  registerEvent(added);
  return true;
}

bool MProject::addPart(MTrackEvent* track, FRef<MPartEvent> part) {
  if (track == nullptr || !part) return false;
  if (track->getNode() == nullptr && !track->ensureContent()) return false;
  // A track takes only the parts its kind holds (MIDI parts on MIDI tracks).
  if (!track->getNode()->holdRefusal(*part).empty()) return false;
  FRef<MAccessor> accessor = track->getNode()->getWriteAccessor();
  MPartEvent* added = part.get();
  if (!accessor || !accessor->insert(std::move(part))) return false;
  registerEvent(added);
  return true;
}

uint32_t MProject::registerEvent(MEvent* event) {
  if (event == nullptr) return kNoID;
  EventWalker walker([this](MEvent& e) {
    // The root holds this project: entering it would make a cycle.
    if (&e != static_cast<MEvent*>(root_)) ids_.assign(&e);
  });
  walker.markEntered(this);
  walker.push(event);
  walker.run();
  return event->getID();
}

void MProject::forEachEvent(const std::function<void(MEvent&)>& visit) const {
  EventWalker walker(visit);
  auto* self = const_cast<MProject*>(this);
  walker.markEntered(self);
  // Pushed in reverse: the walk pops the last pushed first.
  for (auto it = self->list().end(); it != self->list().begin();) walker.push((--it)->get());
  walker.pushNode(trackList_.get());
  walker.push(signature_.get());
  walker.push(tempo_.get());
  walker.push(marker_.get());
  walker.run();
}

void MProject::assignEventIDs() { enterEvents(ids_.size()); }

void MProject::enterEvents(size_t expected) {
  ids_.beginRebuild(expected);
  forEachEvent([this](MEvent& event) { ids_.enter(&event); });
  ids_.endRebuild();
}

void MProject::resolveVirtualGroups() {
  // A group shown by many events is resolved once, not once per event.
  std::unordered_set<MVirtualGroup*> resolved;
  forEachEvent([this, &resolved](MEvent& event) {
    auto* group = dynamic_cast<MVirtualGroup*>(event.getNode());
    if (group != nullptr && resolved.insert(group).second) group->resolve(*this);
  });
}

bool MProject::writeToArchive(FObjectArchive& archive) const {
  if (!MListNode::writeToArchive(archive)) return false;
  FStream& s = archive.stream();
  return s.writeString(workingDirectory_) && archive.writeObject(pool_.get()) && archive.writeObject(marker_.get()) &&
         archive.writeObject(tempo_.get()) && archive.writeObject(signature_.get()) &&
         archive.writeObject(trackList_.get()) && archive.writeObject(autoFade_.get()) &&
         s.writeUInt32(savedNextID()) && archive.writeObject(root_);
}

uint32_t MProject::savedNextID(size_t* eventCount) const {
  // The next free ID as the tree stands: one above every ID an event holds
  // or a group names. Not the running counter, which also counts events of
  // edits since undone; so undoing every edit saves the original bytes.
  uint32_t highest = 0;
  size_t count = 0;
  forEachEvent([&highest, &count](MEvent& event) {
    ++count;
    highest = std::max(highest, event.getID());
    if (const auto* group = dynamic_cast<const MVirtualGroup*>(event.getNode())) {
      for (uint32_t id : group->memberIDs()) highest = std::max(highest, id);
    }
  });
  if (eventCount != nullptr) *eventCount = count;
  return highest + 1;
}

bool MProject::readFromArchive(FObjectArchive& archive) {
  return MListNode::readFromArchive(archive) && readMembers(archive);
}

bool MProject::readMembers(FObjectArchive& archive) {
  FStream& s = archive.stream();
  if (!s.readString(&workingDirectory_)) return false;
  FRef<CmObject> pool(archive.readObject());
  if (archive.failed()) return false;
  FRef<MMarkerTrackEvent> marker;
  FRef<MTempoTrackEvent> tempo;
  FRef<MSignatureTrackEvent> signature;
  FRef<MTrackList> trackList;
  FRef<MAutoFadeSetting> autoFade;
  uint32_t nextID = 0;
  if (!archive.readObjectAs(&marker) || !archive.readObjectAs(&tempo) || !archive.readObjectAs(&signature) ||
      !archive.readObjectAs(&trackList) || !archive.readObjectAs(&autoFade) || !s.readUInt32(&nextID)) {
    return false;
  }
  // "Event" is the root whose node this project is. It is a back pointer:
  // the root links itself when it takes the project as its node, so the
  // reference the read returns is dropped at once (keeping it would make a
  // cycle root -> project -> root).
  FRef<CmObject> event = archive.readObject();
  if (archive.failed()) return false;
  if (event && dynamic_cast<MRoot*>(event.get()) == nullptr) return false;
  event = nullptr;
  // Every project has its marker, tempo and signature tracks, with content of
  // their kinds; everything that converts time relies on them.
  if (!marker || !tempo || !signature || marker->getNode() == nullptr || marker->getNode()->events() == nullptr ||
      dynamic_cast<MTempoTrackNode*>(tempo->getNode()) == nullptr ||
      dynamic_cast<MSignatureTrackNode*>(signature->getNode()) == nullptr) {
    return false;
  }
  pool_ = std::move(pool);
  setMarkerTrack(std::move(marker));
  setTempoTrack(std::move(tempo));
  setSignatureTrack(std::move(signature));
  if (trackList) trackList_ = std::move(trackList);
  if (autoFade) autoFade_ = std::move(autoFade);
  // The next ID follows the tree, as it is saved (savedNextID), not the
  // stored counter: a damaged or foreign counter (the last ID, or one far
  // above the tree's) would otherwise leave events without IDs or number new
  // ones differently from the file this program writes back.
  (void)nextID;
  size_t count = 0;
  ids_.setNextID(savedNextID(&count));
  enterEvents(count);
  resolveVirtualGroups();
  return true;
}

}  // namespace vantor

#include "model/tree/MEventController.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>

#include "foundation/FClass.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MTrackEvent.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MEventController, FShared, 0)
VANTOR_DEFINE_CLASS(MPartController, MEventController, 0)

bool MEventController::canMove(const MEvent& event) const { return !event.isLocked(); }
bool MEventController::canResize(const MEvent& event) const { return !event.isLocked(); }
bool MEventController::canDelete(const MEvent&) const { return true; }

bool MEventController::canRename(const MEvent& event) const {
  return dynamic_cast<const MTrackEvent*>(&event) != nullptr;
}

std::string MEventController::getName(const MEvent& event) const {
  const auto* track = dynamic_cast<const MTrackEvent*>(&event);
  return track != nullptr ? track->getName() : std::string();
}

bool MEventController::setName(MEvent& event, std::string name) const {
  auto* track = dynamic_cast<MTrackEvent*>(&event);
  if (track == nullptr || !canRename(event)) return false;
  // A track without a node whose node class is unknown keeps no name.
  track->setName(std::move(name));
  return track->getNode() != nullptr;
}

std::string MEventController::describe(const MEvent& event) const {
  const std::string name = getName(event);
  if (dynamic_cast<const MTrackEvent*>(&event) != nullptr) return "track \"" + name + "\"";
  if (dynamic_cast<const MPartEvent*>(&event) != nullptr) return "part \"" + name + "\"";
  return name.empty() ? std::string("the event") : "\"" + name + "\"";
}

std::string MEventController::refusal(const MEvent& event, MEventEdit edit) const {
  bool allowed = false;
  const char* verb = "";
  switch (edit) {
    case MEventEdit::kMove:
      allowed = canMove(event);
      verb = "moved";
      break;
    case MEventEdit::kResize:
      allowed = canResize(event);
      verb = "resized";
      break;
    case MEventEdit::kRename:
      allowed = canRename(event);
      verb = "renamed";
      break;
    case MEventEdit::kDelete:
      allowed = canDelete(event);
      verb = "removed";
      break;
  }
  if (allowed) return {};
  if (event.isLocked()) return describe(event) + " is locked; unlock it first";
  return describe(event) + " cannot be " + verb;
}

std::string MEventController::refusalFor(const MEvent& event, MEventEdit edit) {
  return forEvent(event)->refusal(event, edit);
}

FRef<MEventController> MEventController::forEvent(const MEvent& event) {
  // Controllers hold no state, so one per event class serves every event of
  // it: commands ask for each event they touch. The cache is per thread
  // (reference counts are not atomic) and is dropped when the registry
  // changes.
  thread_local std::unordered_map<const FClass*, FRef<MEventController>> cache;
  thread_local uint64_t cachedGeneration = 0;
  const MCategoryRegistry& registry = MCategoryRegistry::instance();
  if (registry.generation() != cachedGeneration) {
    cache.clear();
    cachedGeneration = registry.generation();
  }
  const FClass* eventClass = &event.getClass();
  if (auto it = cache.find(eventClass); it != cache.end()) return it->second;
  FRef<MEventController> found;
  for (const FClass* cls = eventClass; cls != nullptr && !found; cls = cls->getBaseClass()) {
    FRef<CmObject> object = registry.create(MCategoryRegistry::kEventController, cls->getClassName());
    if (auto* controller = dynamic_cast<MEventController*>(object.get())) {
      found = FRef<MEventController>::share(controller);
    }
  }
  if (!found) found = makeRef<MEventController>();
  cache.emplace(eventClass, found);
  return found;
}

bool MPartController::canRename(const MEvent& event) const {
  return dynamic_cast<const MPartEvent*>(&event) != nullptr && !event.isLocked();
}

std::string MPartController::getName(const MEvent& event) const {
  const auto* part = dynamic_cast<const MPartEvent*>(&event);
  return part != nullptr ? part->getName() : MEventController::getName(event);
}

bool MPartController::setName(MEvent& event, std::string name) const {
  auto* part = dynamic_cast<MPartEvent*>(&event);
  if (part == nullptr || !canRename(event)) return false;
  part->setName(std::move(name));
  return true;
}

MCategoryRegistry& MCategoryRegistry::instance() {
  static MCategoryRegistry registry;
  return registry;
}

void MCategoryRegistry::add(std::string_view category, Entry entry) {
  std::unique_lock lock(mutex_);
  ++generation_;
  auto it = categories_.find(category);
  if (it == categories_.end()) it = categories_.emplace(std::string(category), std::vector<Entry>{}).first;
  for (Entry& existing : it->second) {
    if (existing.key == entry.key) {
      existing = std::move(entry);
      return;
    }
  }
  it->second.push_back(std::move(entry));
}

std::optional<MCategoryRegistry::Entry> MCategoryRegistry::find(std::string_view category, std::string_view key) const {
  std::shared_lock lock(mutex_);
  auto it = categories_.find(category);
  if (it == categories_.end()) return std::nullopt;
  for (const Entry& entry : it->second) {
    if (entry.key == key) return entry;
  }
  return std::nullopt;
}

std::vector<MCategoryRegistry::Entry> MCategoryRegistry::entries(std::string_view category) const {
  std::vector<Entry> result;
  {
    std::shared_lock lock(mutex_);
    auto it = categories_.find(category);
    if (it != categories_.end()) result = it->second;
  }
  std::stable_sort(result.begin(), result.end(),
                   [](const Entry& a, const Entry& b) { return a.priority > b.priority; });
  return result;
}

FRef<CmObject> MCategoryRegistry::create(std::string_view category, std::string_view key) const {
  std::optional<Entry> entry = find(category, key);
  if (!entry || !entry->factory) return nullptr;
  return entry->factory();
}

}  // namespace vantor

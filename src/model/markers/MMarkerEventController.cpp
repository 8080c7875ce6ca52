#include "model/markers/MMarkerEventController.h"

#include <cmath>
#include <vector>

#include "model/edit/MAttributeCommands.h"
#include "model/edit/MInsertCommand.h"
#include "model/edit/MMoveCommand.h"
#include "model/edit/MNodeCommands.h"
#include "model/edit/MSizeCommand.h"
#include "model/markers/MMarkerCommands.h"
#include "model/markers/MTransportCommand.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MEventContainer.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MMarkerEventController, MEventController, 0)

namespace {

constexpr double kPulsesPerSecondAt120 = 960.0;

const MMarkerEvent* asMarker(const MEvent& event) { return dynamic_cast<const MMarkerEvent*>(&event); }
bool isLocator(const MEvent& event) { return dynamic_cast<const MCycleEvent*>(&event) != nullptr; }

MPropertyEdit refused(std::string error) { return {nullptr, std::move(error)}; }
MPropertyEdit run(FRef<MCommand> command) { return {std::move(command), {}}; }

const double* numberOf(const MPropertyValue& value) { return std::get_if<double>(&value); }

// A marker ID given as a number: a whole number from 1.
std::optional<int32_t> idOf(const MPropertyValue& value) {
  const double* number = numberOf(value);
  if (number == nullptr || !(*number >= 1 && *number <= 2147483647.0) || std::floor(*number) != *number) {
    return std::nullopt;
  }
  return static_cast<int32_t>(*number);
}

// The locators for a marker: its span in pulses (a plain marker gives its
// start twice); for setZoom the span reaches the next marker.
std::pair<double, double> spanOf(const MDataNode& node, const MMarkerEvent& marker, bool toNext,
                                 const MTempoTrackNode* tempo) {
  const double start = marker.getStart();
  double end = marker.getEnd();
  if (toNext && dynamic_cast<const MRangeMarkerEvent*>(&marker) == nullptr) {
    // Markers are held in start order: the next numbered one that starts
    // later (locator markers stand where the locators were, not in the song).
    for (const auto& other : *node.events()) {
      if (other->getStart() > start && dynamic_cast<const MMarkerEvent*>(other.get()) != nullptr &&
          !isLocator(*other)) {
        end = other->getStart();
        break;
      }
    }
  }
  return {MMarkerEventController::toPulses(node, start, tempo), MMarkerEventController::toPulses(node, end, tempo)};
}

// The commands that make the locator markers of node hold the locators.
FRef<MCommand> locatorMarkersCommand(MMarkerTrackEvent& track, const MMarkerTrackContext& context) {
  MDataNode& node = *track.getNode();
  auto macro = makeRef<MMacroCommand>(kInsertMarkerAction);
  for (int32_t id : {1, 2}) {
    const double at = MMarkerEventController::fromPulses(node, context.transport->getLocator(id), context.tempo);
    if (MCycleEvent* existing = findLocatorMarker(node, id)) {
      if (existing->getStart() == at) continue;
      if (!macro->add(makeRef<MSimpleMoveCommand>(FRef<MEvent>::share(existing), at))) return nullptr;
      continue;
    }
    FRef<MEvent> marker(new MCycleEvent(id, FRef<MTransport>::share(context.transport), node.getDomain()));
    marker->setStart(at);
    if (!macro->add(makeRef<MInsertCommand>(FRef<MDataNode>::share(&node), std::move(marker)))) return nullptr;
  }
  if (macro->empty()) return nullptr;
  return macro;
}

}  // namespace

MCycleEvent* findLocatorMarker(const MDataNode& node, int32_t id) {
  const MEventContainer* events = node.events();
  if (events == nullptr) return nullptr;
  // ID 1 follows the left locator; every other ID the right one.
  const bool left = id == 1;
  for (const auto& event : *events) {
    auto* cycle = dynamic_cast<MCycleEvent*>(event.get());
    if (cycle != nullptr && (cycle->getMarkerID() == 1) == left) return cycle;
  }
  return nullptr;
}

double MMarkerEventController::toPulses(const MDataNode& node, double value, const MTempoTrackNode* tempo) {
  if (node.getDomain() != MTimeDomain::kLinear) return value;
  return tempo != nullptr ? tempo->pulsesAt(value) : value * kPulsesPerSecondAt120;
}

double MMarkerEventController::fromPulses(const MDataNode& node, double pulses, const MTempoTrackNode* tempo) {
  if (node.getDomain() != MTimeDomain::kLinear) return pulses;
  return tempo != nullptr ? tempo->secondsAt(pulses) : pulses / kPulsesPerSecondAt120;
}

bool MMarkerEventController::canRename(const MEvent& event) const {
  if (asMarker(event) == nullptr) return MEventController::canRename(event);
  return !isLocator(event) && !event.isLocked();
}

std::string MMarkerEventController::getName(const MEvent& event) const {
  const MMarkerEvent* marker = asMarker(event);
  return marker != nullptr ? marker->getName() : MEventController::getName(event);
}

bool MMarkerEventController::setName(MEvent& event, std::string name) const {
  auto* marker = dynamic_cast<MMarkerEvent*>(&event);
  if (marker == nullptr) return MEventController::setName(event, std::move(name));
  if (!canRename(event)) return false;
  marker->setName(std::move(name));
  return true;
}

std::string MMarkerEventController::describe(const MEvent& event) const {
  const MMarkerEvent* marker = asMarker(event);
  if (marker == nullptr) return MEventController::describe(event);
  if (isLocator(event)) return marker->getMarkerID() == 1 ? "the left locator marker" : "the right locator marker";
  return "marker " + std::to_string(marker->getMarkerID()) + " \"" + marker->getName() + "\"";
}

std::string MMarkerEventController::refusal(const MEvent& event, MEventEdit edit) const {
  if (edit == MEventEdit::kRename && isLocator(event)) {
    return describe(event) + " is named by its locator and cannot be renamed";
  }
  return MEventController::refusal(event, edit);
}

std::optional<MPropertyValue> MMarkerEventController::getProperty(const MEvent& marker, std::string_view name) const {
  if (asMarker(marker) == nullptr) return std::nullopt;
  if (name == "name") return MPropertyValue(getName(marker));
  if (name == "start") return MPropertyValue(marker.getStart());
  if (name == "length") return MPropertyValue(marker.getLength());
  return std::nullopt;
}

MPropertyEdit MMarkerEventController::setProperty(MEvent& marker, std::string_view name,
                                                  const MPropertyValue& value) const {
  if (asMarker(marker) == nullptr) return refused("the event is not a marker");
  FRef<MEvent> event = FRef<MEvent>::share(&marker);
  const double* number = numberOf(value);
  if (name == "name") {
    const auto* text = std::get_if<std::string>(&value);
    if (text == nullptr) return refused("a marker's name is a text");
    return run(makeRef<MRenameCommand>(event, *text));
  }
  if (name == "start") {
    if (number == nullptr || !std::isfinite(*number) || *number < 0) return refused("a marker starts at 0 or later");
    return run(makeRef<MSimpleMoveCommand>(event, *number));
  }
  if (name == "length") {
    if (dynamic_cast<MRangeMarkerEvent*>(&marker) == nullptr) return refused(describe(marker) + " has no length");
    if (number == nullptr || !std::isfinite(*number) || *number <= 0)
      return refused("a range marker's length is above 0");
    return run(makeRef<MLengthCommand>(event, FRef<MDataNode>::share(marker.getParent()), *number));
  }
  return refused("markers have no property \"" + std::string(name) + "\"");
}

MPropertyEdit MMarkerEventController::insertMarker(MMarkerTrackEvent& track, FRef<MMarkerEvent> marker,
                                                   const MMarkerTrackContext& context) {
  MDataNode* node = track.getNode();
  if (node == nullptr || node->events() == nullptr || !marker) return refused("the marker track has no markers");
  const double start = marker->getStart();
  const double end = marker->getEnd();
  if (!std::isfinite(start) || !std::isfinite(end) || start < 0 || end < start) {
    return refused("a marker starts at 0 or later and ends after it starts");
  }
  marker->setStart(fromPulses(*node, start, context.tempo));
  if (marker->getLength() > 0) marker->setLength(fromPulses(*node, end, context.tempo) - marker->getStart());
  if (dynamic_cast<MCycleEvent*>(marker.get()) == nullptr && marker->getMarkerID() == 0) {
    marker->setMarkerID(nextFreeMarkerID(*node));
  }
  return run(makeRef<MInsertCommand>(FRef<MDataNode>::share(node), FRef<MEvent>(std::move(marker))));
}

std::optional<MPropertyValue> MMarkerEventController::getTrackProperty(const MMarkerTrackEvent& track,
                                                                       std::string_view name,
                                                                       const MMarkerTrackContext& context) const {
  if (name == "name") return MPropertyValue(track.getName());
  if (name == "timeType" && track.getNode() != nullptr) {
    return MPropertyValue(std::string(track.getNode()->getDomain() == MTimeDomain::kLinear ? "linear" : "musical"));
  }
  if (name == "setCycle" && context.transport != nullptr) return MPropertyValue(context.transport->isCycleOn());
  return std::nullopt;
}

MPropertyEdit MMarkerEventController::setTrackProperty(MMarkerTrackEvent& track, std::string_view name,
                                                       const MPropertyValue& value,
                                                       const MMarkerTrackContext& context) const {
  MDataNode* node = track.getNode();
  if (node == nullptr || node->events() == nullptr) return refused("the marker track has no markers");
  const auto* text = std::get_if<std::string>(&value);
  if (name == "name") {
    if (text == nullptr) return refused("a track's name is a text");
    return run(makeRef<MRenameCommand>(FRef<MEvent>::share(&track), *text));
  }
  if (name == "timeType") {
    if (text == nullptr || (*text != "musical" && *text != "linear"))
      return refused("the time type is musical or linear");
    const MTimeDomain domain = *text == "linear" ? MTimeDomain::kLinear : MTimeDomain::kMusical;
    if (domain == node->getDomain()) return refused("the markers are already in " + *text + " time");
    return run(
        makeRef<MNodeDomainCommand>(FRef<MDataNode>::share(node), domain, FRef<MTempoTrackNode>::share(context.tempo)));
  }
  if (name == "newMarker") {
    const double* number = numberOf(value);
    if (number == nullptr || !std::isfinite(*number) || *number < 0) return refused("a marker starts at 0 or later");
    auto marker = makeRef<MMarkerEvent>();
    marker->setStart(*number);
    return insertMarker(track, std::move(marker), context);
  }
  if (context.transport == nullptr) return refused("there is no transport to set");
  if (name == "setCycle") {
    const auto* on = std::get_if<bool>(&value);
    if (on == nullptr) return refused("the cycle is on or off");
    return run(MTransportCommand::cycle(FRef<MTransport>::share(context.transport), *on));
  }
  if (name == "locateMarker" || name == "setZoom") {
    const std::optional<int32_t> id = idOf(value);
    const MMarkerEvent* marker = id ? findMarkerByID(*node, *id) : nullptr;
    if (marker == nullptr) return refused("there is no marker with that ID");
    const auto [left, right] = spanOf(*node, *marker, name == "setZoom", context.tempo);
    return run(MTransportCommand::locators(FRef<MTransport>::share(context.transport), left, right));
  }
  if (name == "newCycleMarker") return run(locatorMarkersCommand(track, context));
  return refused("the marker track has no property \"" + std::string(name) + "\"");
}

}  // namespace vantor

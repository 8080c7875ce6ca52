// Shell verbs on markers: add, move, size, rename, renumber, remove, the
// locator markers, locating and zooming to markers, and the markers' time
// base. They act through the marker controller, which keeps the rules.

#include <cctype>

#include "cli/ShellReferences.h"
#include "cli/ShellSession.h"
#include "model/edit/MInsertCommand.h"
#include "model/markers/MMarkerCommands.h"
#include "model/markers/MMarkerEvent.h"
#include "model/markers/MMarkerEventController.h"
#include "model/markers/MTransport.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"

namespace vantor::cli {

namespace {

MMarkerTrackEvent& markerTrack(ShellSession& s) { return *s.project().getMarkerTrack(); }
MDataNode& markerNode(ShellSession& s) { return *markerTrack(s).getNode(); }

MMarkerTrackContext context(ShellSession& s) { return {&s.transport(), s.project().getTempoNode()}; }

FRef<MMarkerEventController> controller(ShellSession& s) {
  FRef<MEventController> found = MEventController::forEvent(markerTrack(s));
  auto* markers = dynamic_cast<MMarkerEventController*>(found.get());
  return FRef<MMarkerEventController>::share(markers);
}

double toNode(ShellSession& s, double pulses) {
  return MMarkerEventController::fromPulses(markerNode(s), pulses, s.project().getTempoNode());
}

// A marker by its ID, or a locator marker by L or R (their IDs 1 and 2 stay
// apart from the numbered markers).
MMarkerEvent* marker(ShellSession& s, const std::string& text) {
  if (text.size() == 1 && (std::toupper(static_cast<unsigned char>(text[0])) == 'L' ||
                           std::toupper(static_cast<unsigned char>(text[0])) == 'R')) {
    const int32_t id = std::toupper(static_cast<unsigned char>(text[0])) == 'L' ? 1 : 2;
    MMarkerEvent* found = findLocatorMarker(markerNode(s), id);
    if (found == nullptr) s.fail(std::string("there is no ") + (id == 1 ? "left" : "right") + " locator marker");
    return found;
  }
  auto id = s.integer(text, 1, 2147483647, "marker ID (a number, or L or R for a locator marker)");
  if (!id) return nullptr;
  MMarkerEvent* found = findMarkerByID(markerNode(s), static_cast<int32_t>(*id));
  if (found == nullptr) s.fail("there is no marker with ID " + text);
  return found;
}

// Performs what setting a property gave: a command, nothing to change, or a
// refusal.
bool apply(ShellSession& s, MPropertyEdit edit, const char* action = nullptr) {
  if (!edit.ok()) return s.fail(edit.error);
  return !edit.command || s.perform(std::move(edit.command), action != nullptr ? action : "");
}

bool markerProperty(ShellSession& s, MMarkerEvent& m, const char* name, MPropertyValue value, const char* action) {
  FRef<MMarkerEventController> c = controller(s);
  return c && apply(s, c->setProperty(m, name, value), action);
}

bool trackProperty(ShellSession& s, const char* name, MPropertyValue value, const char* action = nullptr) {
  FRef<MMarkerEventController> c = controller(s);
  if (!c) return s.fail("the marker track has no controller");
  return apply(s, c->setTrackProperty(markerTrack(s), name, value, context(s)), action);
}

bool addMarker(ShellSession& s, const ShellArgs& a) {
  if (a.empty() || a.size() > 3) return s.fail("usage: marker add POSITION [NAME] [END]");
  auto at = s.position(a[0]);
  if (!at) return false;
  FRef<MMarkerEvent> event;
  if (a.size() == 3) {
    auto end = s.position(a[2]);
    if (!end) return false;
    if (*end <= *at) return s.fail("a range marker must end after it starts");
    event = makeRef<MRangeMarkerEvent>();
    event->setLength(*end - *at);
  } else {
    event = makeRef<MMarkerEvent>();
  }
  event->setStart(*at);
  if (a.size() > 1) event->setName(a[1]);
  MMarkerEvent* added = event.get();
  if (!apply(s, MMarkerEventController::insertMarker(markerTrack(s), std::move(event), context(s)),
             kInsertMarkerAction)) {
    return false;
  }
  s.out() << "marker " << added->getMarkerID() << '\n';
  return true;
}

bool addLocatorMarkers(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: marker locators");
  return trackProperty(s, "newCycleMarker", true, kInsertMarkerAction);
}

bool moveMarker(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: marker move MARKER POSITION");
  MMarkerEvent* m = marker(s, a[0]);
  if (m == nullptr) return false;
  auto at = s.position(a[1]);
  return at && markerProperty(s, *m, "start", toNode(s, *at), kMoveMarkerAction);
}

bool endMarker(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: marker end MARKER POSITION");
  MMarkerEvent* m = marker(s, a[0]);
  if (m == nullptr) return false;
  auto end = s.position(a[1]);
  return end && markerProperty(s, *m, "length", toNode(s, *end) - m->getStart(), "Size Marker");
}

bool renameMarker(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: marker rename MARKER NAME");
  MMarkerEvent* m = marker(s, a[0]);
  return m != nullptr && markerProperty(s, *m, "name", a[1], kRenameMarkerAction);
}

bool renumberMarker(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: marker id MARKER NEWID");
  MMarkerEvent* m = marker(s, a[0]);
  if (m == nullptr) return false;
  auto id = s.integer(a[1], 1, 2147483647, "marker ID");
  if (!id) return false;
  if (*id == m->getMarkerID()) return s.fail("the marker already has ID " + a[1]);
  return s.perform(makeRef<MMarkerIdCommand>(FRef<MMarkerEvent>::share(m), static_cast<int32_t>(*id)));
}

bool removeMarker(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: marker remove MARKER");
  MMarkerEvent* m = marker(s, a[0]);
  return m != nullptr && s.perform(makeRef<MRemoveCommand>(FRef<MEvent>::share(m)), kRemoveMarkerAction);
}

// locateMarker and setZoom name a numbered marker.
ShellHandler locatorsTo(const char* property) {
  return [property](ShellSession& s, const ShellArgs& a) {
    if (a.size() != 1) return s.fail(std::string("usage: marker ") + (property[0] == 'l' ? "locate" : "zoom") + " ID");
    auto id = s.integer(a[0], 1, 2147483647, "marker ID");
    return id && trackProperty(s, property, static_cast<double>(*id));
  };
}

bool markerTimeBase(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: marker timebase musical|linear");
  return trackProperty(s, "timeType", a[0]);
}

}  // namespace

void addMarkerVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"marker add", "POSITION [NAME] [END]",
                   "add a marker (a range marker when END is given); prints its ID", addMarker});
  verbs.push_back({"marker locators", "", "make the locator markers L and R hold the left and right locators (one set)",
                   addLocatorMarkers});
  verbs.push_back({"marker move", "MARKER POSITION", "move a marker (an ID, or L or R)", moveMarker});
  verbs.push_back({"marker end", "MARKER POSITION", "move the end of a range marker", endMarker});
  verbs.push_back({"marker rename", "MARKER NAME", "rename a marker (locator markers keep their names)", renameMarker});
  verbs.push_back(
      {"marker id", "ID NEWID", "renumber a marker (a marker holding NEWID takes the old ID)", renumberMarker});
  verbs.push_back({"marker remove", "MARKER", "remove a marker (an ID, or L or R)", removeMarker});
  verbs.push_back({"marker locate", "ID", "set the locators to a marker (a range marker's start and end)",
                   locatorsTo("locateMarker")});
  verbs.push_back(
      {"marker zoom", "ID", "set the locators to the span from a marker to the next one", locatorsTo("setZoom")});
  verbs.push_back({"marker timebase", "musical|linear",
                   "keep the markers at their bars or at their times when the tempo changes", markerTimeBase});
}

}  // namespace vantor::cli

// Shell verbs on markers: add, move, rename, renumber, remove, and locator
// markers taken from the transport.

#include "cli/ShellReferences.h"
#include "cli/ShellSession.h"
#include "model/edit/MInsertCommand.h"
#include "model/edit/MMoveCommand.h"
#include "model/markers/MMarkerCommands.h"
#include "model/markers/MMarkerEvent.h"
#include "model/markers/MTransport.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"

namespace vantor::cli {

namespace {

MDataNode& markerNode(ShellSession& s) { return *s.project().getMarkerTrack()->getNode(); }

MMarkerEvent* marker(ShellSession& s, const std::string& text) {
  auto id = s.integer(text, 1, 2147483647, "marker ID");
  if (!id) return nullptr;
  MMarkerEvent* found = findMarkerByID(markerNode(s), static_cast<int32_t>(*id));
  if (found == nullptr) s.fail("there is no marker with ID " + text);
  return found;
}

bool insertMarker(ShellSession& s, FRef<MMarkerEvent> event) {
  MMarkerEvent* added = event.get();
  if (!s.perform(makeRef<MInsertCommand>(FRef<MDataNode>::share(&markerNode(s)), FRef<MEvent>(std::move(event))),
                 kInsertMarkerAction)) {
    return false;
  }
  s.project().registerEvent(added);
  s.out() << "marker " << added->getMarkerID() << '\n';
  return true;
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
  event->setMarkerID(nextFreeMarkerID(markerNode(s)));
  return insertMarker(s, std::move(event));
}

bool addLocatorMarkers(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: marker locators");
  FRef<MTransport> transport = FRef<MTransport>::share(&s.transport());
  auto both = makeRef<MMacroCommand>(kInsertMarkerAction);
  std::vector<MEvent*> added;
  for (int32_t id : {1, 2}) {
    FRef<MEvent> cycle(new MCycleEvent(id, transport, MTimeDomain::kMusical));
    added.push_back(cycle.get());
    if (!both->add(makeRef<MInsertCommand>(FRef<MDataNode>::share(&markerNode(s)), cycle)))
      return s.fail("the locator markers could not be made");
  }
  if (!s.perform(both)) return false;
  for (MEvent* e : added) s.project().registerEvent(e);
  return true;
}

bool moveMarker(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: marker move ID POSITION");
  MMarkerEvent* m = marker(s, a[0]);
  if (m == nullptr) return false;
  auto at = s.position(a[1]);
  return at && s.perform(makeRef<MSimpleMoveCommand>(FRef<MEvent>::share(m), *at), kMoveMarkerAction);
}

bool renameMarker(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: marker rename ID NAME");
  MMarkerEvent* m = marker(s, a[0]);
  return m != nullptr && s.perform(makeRef<MMarkerRenameCommand>(FRef<MMarkerEvent>::share(m), a[1]));
}

bool renumberMarker(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: marker id ID NEWID");
  MMarkerEvent* m = marker(s, a[0]);
  if (m == nullptr) return false;
  auto id = s.integer(a[1], 1, 2147483647, "marker ID");
  if (!id) return false;
  if (*id == m->getMarkerID()) return s.fail("the marker already has ID " + a[1]);
  return s.perform(makeRef<MMarkerIdCommand>(FRef<MMarkerEvent>::share(m), static_cast<int32_t>(*id)));
}

bool removeMarker(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: marker remove ID");
  MMarkerEvent* m = marker(s, a[0]);
  return m != nullptr && s.perform(makeRef<MRemoveCommand>(FRef<MEvent>::share(m)), kRemoveMarkerAction);
}

}  // namespace

void addMarkerVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"marker add", "POSITION [NAME] [END]",
                   "add a marker (a range marker when END is given); prints its ID", addMarker});
  verbs.push_back({"marker locators", "", "add markers that hold the left and right locators", addLocatorMarkers});
  verbs.push_back({"marker move", "ID POSITION", "move a marker", moveMarker});
  verbs.push_back({"marker rename", "ID NAME", "rename a marker", renameMarker});
  verbs.push_back(
      {"marker id", "ID NEWID", "renumber a marker (a marker holding NEWID takes the old ID)", renumberMarker});
  verbs.push_back({"marker remove", "ID", "remove a marker", removeMarker});
}

}  // namespace vantor::cli

// Shell verbs on parts and the events inside them: add, remove, move, nudge,
// size, split, mute, lock, rename, colour, and virtual groups.

#include <algorithm>

#include "cli/ShellReferences.h"
#include "cli/ShellSession.h"
#include "model/edit/MAttributeCommands.h"
#include "model/edit/MInsertCommand.h"
#include "model/edit/MMoveCommand.h"
#include "model/edit/MSizeCommand.h"
#include "model/edit/MVGroupCommands.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MVirtualGroup.h"

namespace vantor::cli {

namespace {

// Events named by the references in args[first, end).
std::optional<std::vector<FRef<MEvent>>> eventList(ShellSession& s, const ShellArgs& a, size_t first, size_t end) {
  std::vector<FRef<MEvent>> events;
  for (size_t i = first; i < end; ++i) {
    MEvent* e = s.event(a[i]);
    if (e == nullptr) return std::nullopt;
    events.push_back(FRef<MEvent>::share(e));
  }
  return events;
}

// Reads START END [NAME] from a[1..3] into part, with positions counted
// from origin (0 on a track; a part's content origin inside a part).
bool readSpan(ShellSession& s, const ShellArgs& a, double origin, MPartEvent& part) {
  auto start = s.position(a[1]);
  if (!start) return false;
  auto end = s.position(a[2]);
  if (!end) return false;
  if (*end <= *start) return s.fail("the end must lie after the start");
  part.setName(a.size() > 3 ? a[3] : "Part");
  part.setStart(*start - origin);
  part.setLength(*end - *start);
  return true;
}

bool addPart(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 3 || a.size() > 4) return s.fail("usage: part add TRACK START END [NAME]");
  MTrackEvent* t = s.track(a[0]);
  if (t == nullptr) return false;
  // The track's kind decides what part it holds (audio or MIDI), or none.
  FRef<MPartEvent> part = t->createPart();
  if (!part) return s.fail("the " + trackKindName(*t) + " track \"" + t->getName() + "\" holds no parts");
  if (!readSpan(s, a, 0, *part)) return false;
  return s.perform(makeRef<MInsertCommand>(FRef<MEvent>::share(t), FRef<MEvent>(part)));
}

bool addEvent(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 3 || a.size() > 4) return s.fail("usage: event add PART START END [NAME]");
  MEvent* holder = s.event(a[0]);
  if (holder == nullptr) return false;
  auto* part = dynamic_cast<MPartEvent*>(holder);
  if (part == nullptr) return s.fail("\"" + a[0] + "\" holds no events");
  // Positions are typed on the project's time line; inside the part they
  // count from its content origin. The insert command checks the nesting
  // and that the event lies inside the part.
  FRef<MPartEvent> event = makeRef<MPartEvent>();
  event->setNode(event->createNode());
  if (!readSpan(s, a, part->getContentOrigin(), *event)) return false;
  return s.perform(makeRef<MInsertCommand>(FRef<MEvent>::share(part), FRef<MEvent>(event)));
}

bool removeEvents(ShellSession& s, const ShellArgs& a) {
  if (a.empty()) return s.fail("usage: remove EVENT...");
  auto events = eventList(s, a, 0, a.size());
  return events && s.perform(makeRef<MRemoveCommand>(std::move(*events)));
}

bool moveEvent(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 2 || a.size() > 3) return s.fail("usage: move EVENT POSITION [TRACK]");
  double origin = 0;
  MEvent* e = s.event(a[0], &origin);
  if (e == nullptr) return false;
  auto start = s.position(a[1]);
  if (!start) return false;
  if (a.size() == 2) return s.perform(makeRef<MSimpleMoveCommand>(FRef<MEvent>::share(e), *start - origin));
  MTrackEvent* target = s.track(a[2]);
  if (target == nullptr) return false;
  if (target->getNode() == nullptr || dynamic_cast<MFolderTrack*>(target) != nullptr)
    return s.fail("the track cannot hold parts");
  // The target node's hold rule (in the move command) decides whether the
  // track's kind takes the event.
  std::vector<MEventMove> moves{{FRef<MEvent>::share(e), FRef<MDataNode>::share(target->getNode()), *start}};
  return s.perform(makeRef<MMoveCommand>(std::move(moves)));
}

bool nudgeEvents(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 2) return s.fail("usage: nudge DELTA EVENT...");
  // A delta is a length (pulses, or a position form's distance from the
  // start), with a minus sign to move earlier: no exponents, hexadecimal,
  // inf or nan.
  const bool earlier = !a[0].empty() && a[0].front() == '-';
  auto distance = s.length(earlier ? a[0].substr(1) : a[0]);
  if (!distance) return false;
  const double delta = earlier ? -*distance : *distance;
  auto events = eventList(s, a, 1, a.size());
  if (!events) return false;
  return s.perform(makeRef<MMoveInsideCommand>(std::move(*events), delta));
}

bool sizeEvent(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 3) return s.fail("usage: size EVENT start|end|offset|length VALUE");
  double origin = 0;
  MEvent* e = s.event(a[0], &origin);
  if (e == nullptr) return false;
  FRef<MEvent> event = FRef<MEvent>::share(e);
  FRef<MDataNode> node = FRef<MDataNode>::share(e->getParent());
  const std::string& what = a[1];
  if (what != "start" && what != "end" && what != "offset" && what != "length")
    return s.fail("size takes start, end, offset or length, not \"" + what + "\"");
  const bool isPosition = what == "start" || what == "end";
  auto value = isPosition ? s.position(a[2]) : s.length(a[2]);
  if (!value) return false;
  if (isPosition) *value -= origin;
  if (what == "start") return s.perform(makeRef<MSizeStartCommand>(event, node, *value));
  if (what == "end") return s.perform(makeRef<MSizeEndCommand>(event, node, *value));
  if (what == "offset") return s.perform(makeRef<MOffsetCommand>(event, node, *value), "Set Offset");
  return s.perform(makeRef<MLengthCommand>(event, node, *value));
}

bool splitEvents(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: split EVENT POSITION");
  double origin = 0;
  MEvent* e = s.event(a[0], &origin);
  if (e == nullptr) return false;
  auto at = s.position(a[1]);
  if (!at) return false;
  *at -= origin;
  if (*at <= e->getStart() || *at >= e->getEnd()) return s.fail("the position does not lie inside the event");
  return s.perform(makeRef<MSplitCommand>(FRef<MDataNode>::share(e->getParent()),
                                          std::vector<FRef<MEvent>>{FRef<MEvent>::share(e)}, *at));
}

ShellHandler flagVerb(bool isMute, bool on) {
  return [isMute, on](ShellSession& s, const ShellArgs& a) {
    if (a.empty()) return s.fail("give the events to change");
    auto events = eventList(s, a, 0, a.size());
    if (!events) return false;
    if (isMute) return s.perform(makeRef<MMuteCommand>(std::move(*events), on));
    return s.perform(makeRef<MEditLockCommand>(std::move(*events), on));
  };
}

bool renameEvent(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: rename EVENT NAME");
  MEvent* e = s.event(a[0]);
  return e != nullptr && s.perform(makeRef<MRenameCommand>(FRef<MEvent>::share(e), a[1]));
}

bool colourEvents(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 2) return s.fail("usage: color COLOUR EVENT...");
  auto c = parseColour(s, a[0]);
  if (!c) return false;
  auto events = eventList(s, a, 1, a.size());
  return events && s.perform(makeRef<MColorCommand>(std::move(*events), *c));
}

std::vector<MEvent*> groupPlacements(MProject& project) {
  std::vector<MEvent*> groups;
  for (MEvent* e : eventsOf(&project)) {
    if (dynamic_cast<MVirtualGroupEvent*>(e) != nullptr) groups.push_back(e);
  }
  return groups;
}

bool createGroup(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 3) return s.fail("usage: group create NAME EVENT EVENT...");
  auto events = eventList(s, a, 1, a.size());
  return events &&
         s.perform(makeRef<MVGroupCreateCommand>(FRef<MDataNode>::share(&s.project()), std::move(*events), a[0]));
}

bool removeGroup(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: group remove GROUP");
  const std::vector<MEvent*> groups = groupPlacements(s.project());
  auto number = s.integer(a[0], 1, static_cast<long>(std::max<size_t>(groups.size(), 1)), "group number");
  if (!number) return false;
  if (groups.empty()) return s.fail("the project has no groups");
  return s.perform(makeRef<MVGroupRemoveCommand>(FRef<MEvent>::share(groups[static_cast<size_t>(*number - 1)])));
}

}  // namespace

std::vector<MEvent*> listGroups(MProject& project) { return groupPlacements(project); }

void addEventVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"part add", "TRACK START END [NAME]", "add a part to a track", addPart});
  verbs.push_back({"event add", "PART START END [NAME]",
                   "add an event inside a part (it must lie within the part; events hold no events)", addEvent});
  verbs.push_back({"remove", "EVENT...", "remove parts or events", removeEvents});
  verbs.push_back(
      {"move", "EVENT POSITION [TRACK]", "move an event to POSITION, onto another track if given", moveEvent});
  verbs.push_back(
      {"nudge", "DELTA EVENT...", "move events by DELTA pulses (repeats unite into one undo)", nudgeEvents});
  verbs.push_back({"size", "EVENT start|end|offset|length VALUE",
                   "resize an event: start and end keep the content in place, offset shifts the content", sizeEvent});
  verbs.push_back({"split", "EVENT POSITION", "split an event in two at POSITION", splitEvents});
  verbs.push_back({"mute", "EVENT...", "mute events", flagVerb(true, true)});
  verbs.push_back({"unmute", "EVENT...", "unmute events", flagVerb(true, false)});
  verbs.push_back({"lock", "EVENT...", "lock events against moves and resizes", flagVerb(false, true)});
  verbs.push_back({"unlock", "EVENT...", "unlock events", flagVerb(false, false)});
  verbs.push_back({"rename", "EVENT NAME", "rename a part or event", renameEvent});
  verbs.push_back({"color", "COLOUR EVENT...", "colour parts or events (a number or #RRGGBB)", colourEvents});
  verbs.push_back({"group create", "NAME EVENT EVENT...", "make a virtual group of events", createGroup});
  verbs.push_back({"group remove", "GROUP", "dissolve a virtual group (its number in `groups`)", removeGroup});
}

}  // namespace vantor::cli

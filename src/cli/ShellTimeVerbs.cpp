// Shell verbs on musical time and the transport: tempo, signatures,
// locators and the cycle switch.

#include <string>

#include "cli/ShellReferences.h"
#include "cli/ShellSession.h"
#include "model/markers/MMarkerEventController.h"
#include "model/markers/MTransport.h"
#include "model/markers/MTransportCommand.h"
#include "model/time/MPosition.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoCommands.h"
#include "model/time/MTempoEvent.h"
#include "model/time/MTempoTrack.h"
#include "model/time/MTimeRange.h"
#include "model/time/MTimeSignatureEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"
#include "model/undo/MCommand.h"

namespace vantor::cli {

namespace {

MTempoTrackNode& tempoNode(ShellSession& s) { return *s.project().getTempoNode(); }
MSignatureTrackNode& signatureNode(ShellSession& s) { return *s.project().getSignatureNode(); }

std::optional<int32_t> tempoFunction(ShellSession& s, const std::string& word) {
  if (word == "jump") return MTempoFunc::kJump;
  if (word == "ramp") return MTempoFunc::kRamp;
  s.fail("a tempo runs in by jump or ramp, not \"" + word + "\"");
  return std::nullopt;
}

bool setTempo(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 2 || a.size() > 3) return s.fail("usage: tempo POSITION BPM [jump|ramp]");
  auto at = s.position(a[0]);
  if (!at) return false;
  double bpm = 0;
  std::string error;
  if (!MTimeRange::parseTempo(a[1], &bpm, &error)) return s.fail(error);
  int32_t func = MTempoFunc::kJump;
  if (a.size() == 3) {
    auto f = tempoFunction(s, a[2]);
    if (!f) return false;
    func = *f;
  }
  MTempoTrackNode& node = tempoNode(s);
  MTempoEvent* existing = node.tempoEventAt(*at);
  auto set = makeRef<MSetTempoCommand>(FRef<MTempoTrackNode>::share(&node), *at, bpm, func);
  // Setting an existing change keeps how tempo runs into it unless a
  // function was named: then both happen as one undo step.
  if (existing == nullptr || existing->getStart() != *at || a.size() < 3 || existing->getFunc() == func) {
    return s.perform(set);
  }
  auto both = makeRef<MMacroCommand>("Set Tempo");
  if (!both->add(set) || !both->add(makeRef<MTempoTypeCommand>(FRef<MTempoEvent>::share(existing), func))) {
    return s.fail("the tempo could not be set");
  }
  return s.perform(both);
}

bool setTempoType(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: tempo type POSITION jump|ramp");
  auto at = s.position(a[0]);
  if (!at) return false;
  auto func = tempoFunction(s, a[1]);
  if (!func) return false;
  MTempoEvent* event = tempoNode(s).tempoEventAt(*at);
  if (event == nullptr || event->getStart() != *at) return s.fail("there is no tempo change at " + a[0]);
  return s.perform(makeRef<MTempoTypeCommand>(FRef<MTempoEvent>::share(event), *func));
}

bool setSignature(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: signature POSITION N/D");
  auto at = s.position(a[0]);
  if (!at) return false;
  MSignatureValues values;
  std::string error;
  if (!MTimeRange::parseSignature(a[1], &values.numerator, &values.denominator, &error)) return s.fail(error);
  // The command refuses a position inside a bar and says why.
  const auto position = static_cast<int32_t>(*at + 0.5);
  return s.perform(
      makeRef<MTimeSignatureCommand>(FRef<MSignatureTrackNode>::share(&signatureNode(s)), position, values));
}

// The locators and the cycle switch are edits with undo like any other
// (model/markers/MTransportCommand.h).
bool setLocators(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: locators LEFT RIGHT");
  auto left = s.position(a[0]);
  if (!left) return false;
  auto right = s.position(a[1]);
  if (!right) return false;
  if (*right < *left) return s.fail("the right locator must not lie before the left one");
  return s.perform(MTransportCommand::locators(FRef<MTransport>::share(&s.transport()), *left, *right));
}

bool setCycle(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: cycle on|off");
  auto on = s.onOff(a, 0, true);
  if (!on) return false;
  // The marker track's controller owns the switch ("setCycle").
  const auto markers = makeRef<MMarkerEventController>();
  MPropertyEdit edit = markers->setTrackProperty(*s.project().getMarkerTrack(), "setCycle", *on,
                                                 {&s.transport(), s.project().getTempoNode()});
  if (!edit.ok()) return s.fail(edit.error);
  return !edit.command || s.perform(std::move(edit.command));
}

}  // namespace

void addTimeVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"tempo type", "POSITION jump|ramp", "how tempo runs into the change at POSITION", setTempoType});
  verbs.push_back({"tempo", "POSITION BPM [jump|ramp]",
                   "set the tempo at POSITION (a new tempo change where there is none)", setTempo});
  verbs.push_back({"signature", "POSITION N/D",
                   "add or change a time signature; later signatures keep their bar numbers", setSignature});
  verbs.push_back({"locators", "LEFT RIGHT", "set the left and right locators", setLocators});
  verbs.push_back({"cycle", "on|off", "switch the cycle between the locators", setCycle});
}

}  // namespace vantor::cli

// Shell verbs that show the project: tracks, parts, events, markers, tempo
// changes, signatures, groups.

#include <cmath>
#include <cstdio>
#include <ostream>

#include "audio/pool/MAudioEvent.h"
#include "cli/MixerText.h"
#include "cli/ShellReferences.h"
#include "cli/ShellSession.h"
#include "midi/events/MMidiEvent.h"
#include "midi/events/MMidiSysex.h"
#include "midi/events/MSmfEvent.h"
#include "model/markers/MMarkerEvent.h"
#include "model/markers/MMarkerEventController.h"
#include "model/markers/MTransport.h"
#include "model/time/MPosition.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoEvent.h"
#include "model/time/MTempoTrack.h"
#include "model/time/MTimeRange.h"
#include "model/time/MTimeSignatureEvent.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MVirtualGroup.h"

namespace vantor::cli {

namespace {

std::string bars(ShellSession& s, double pulses) {
  return s.positions().formatBars(pulses).value_or(std::to_string(pulses));
}

// Pulses as people read them: whole pulses without an exponent, a
// fraction (from a seconds position) in fixed decimals.
std::string pulsesText(double pulses) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, pulses == std::floor(pulses) ? "%.0f" : "%.3f", pulses);
  return buffer;
}

// What a MIDI event or a kept file meta event holds: its kind, then the
// channel (1-16) and data bytes, a sysex's or meta event's byte count.
std::string midiContent(const MEvent& event) {
  char text[96];
  if (const auto* sysex = dynamic_cast<const MMidiSysex*>(&event)) {
    std::snprintf(text, sizeof text, "  %s, %zu bytes", sysex->getDisplayName(), sysex->getByteCount());
  } else if (const auto* midi = dynamic_cast<const MMidiEvent*>(&event)) {
    std::snprintf(text, sizeof text, "  %s, channel %d, data %d %d", midi->getDisplayName(), midi->getChannel() + 1,
                  midi->getData1(), midi->getData2());
  } else if (const auto* meta = dynamic_cast<const MSmfEvent*>(&event)) {
    std::snprintf(text, sizeof text, "  %s, %zu bytes", meta->getDisplayName(), meta->getData().size());
  } else {
    return {};
  }
  return text;
}

// An audio event's own fades, in frames of its clip ("" without any).
std::string fadesText(const MAudioEvent& event) {
  std::string text;
  if (event.getFadeIn() > 0)
    text += "  fade in " + std::to_string(event.getFadeIn()) + " " + fadeCurveName(event.getFadeInCurve());
  if (event.getFadeOut() > 0)
    text += "  fade out " + std::to_string(event.getFadeOut()) + " " + fadeCurveName(event.getFadeOutCurve());
  return text;
}

// Lists the events of node; origin is where their positions count from on
// the project's time line (a part's content origin for the events inside
// it), so bars are shown as the user types them.
void printEvents(ShellSession& s, const std::string& prefix, const MDataNode* node, double origin) {
  const std::vector<MEvent*> events = eventsOf(node);
  for (size_t i = 0; i < events.size(); ++i) {
    const MEvent& e = *events[i];
    s.out() << prefix << (i + 1) << "  " << quotedText(eventName(e)) << "  " << bars(s, origin + e.getStart()) << " - "
            << bars(s, origin + e.getEnd()) << "  (start " << pulsesText(e.getStart()) << ", length "
            << pulsesText(e.getLength()) << ", offset " << pulsesText(e.getOffset()) << ")" << midiContent(e);
    if (e.getNode() != nullptr && e.getNode()->events() != nullptr)
      s.out() << "  " << e.getNode()->events()->size() << " events";
    if (e.isMuted()) s.out() << "  muted";
    if (e.isLocked()) s.out() << "  locked";
    if (const auto* audio = dynamic_cast<const MAudioEvent*>(&e)) s.out() << fadesText(*audio);
    if (const auto* part = dynamic_cast<const MPartEvent*>(&e); part != nullptr && part->getColor() != 0)
      s.out() << "  color " << part->getColor();
    s.out() << '\n';
  }
}

bool listTracksVerb(ShellSession& s, const ShellArgs&) {
  const std::vector<MTrackEvent*> tracks = listTracks(s.project());
  if (tracks.empty()) s.out() << "no tracks\n";
  for (size_t i = 0; i < tracks.size(); ++i) {
    const MTrackEvent& t = *tracks[i];
    s.out() << (i + 1) << "  " << trackKindName(t) << "  " << quotedText(t.getName());
    const auto* folder = dynamic_cast<const MFolderTrack*>(&t);
    if (folder != nullptr && folder->getTrackList() != nullptr) {
      s.out() << "  " << folder->getTrackList()->count() << " tracks";
    } else {
      s.out() << "  " << eventsOf(t.getNode()).size() << " parts";
    }
    // The mixer channel where it differs from the default (0 dB, centre).
    if (t.hasAttribute(MTrackAttribute::kVolume))
      s.out() << "  volume " << volumeText(t.getAttribute(MTrackAttribute::kVolume));
    if (t.hasAttribute(MTrackAttribute::kPan)) s.out() << "  pan " << panText(t.getAttribute(MTrackAttribute::kPan));
    if (t.isMuted()) s.out() << "  muted";
    if (t.isSolo()) s.out() << "  solo";
    if (t.getAttribute(MTrackAttribute::kColor) != 0) s.out() << "  color " << t.getAttribute(MTrackAttribute::kColor);
    s.out() << '\n';
  }
  return true;
}

bool listParts(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: parts TRACK");
  MTrackEvent* t = s.track(a[0]);
  if (t == nullptr) return false;
  printEvents(s, a[0] + ":", t->getNode(), 0);
  return true;
}

bool listEvents(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: events PART");
  double origin = 0;
  MEvent* e = s.event(a[0], &origin);
  if (e == nullptr) return false;
  if (const auto* part = dynamic_cast<const MPartEvent*>(e)) origin += part->getContentOrigin();
  printEvents(s, a[0] + ":", e->getNode(), origin);
  return true;
}

bool listMarkers(ShellSession& s, const ShellArgs&) {
  const MDataNode& node = *s.project().getMarkerTrack()->getNode();
  const MTempoTrackNode* tempo = s.project().getTempoNode();
  for (MEvent* e : eventsOf(&node)) {
    auto* m = dynamic_cast<MMarkerEvent*>(e);
    if (m == nullptr) continue;
    // Locator markers are named L and R, apart from the numbered markers.
    const bool locator = dynamic_cast<MCycleEvent*>(m) != nullptr;
    if (locator) {
      s.out() << (m->getMarkerID() == 1 ? "L" : "R");
    } else {
      s.out() << m->getMarkerID();
    }
    s.out() << "  " << quotedText(m->getName()) << "  "
            << bars(s, MMarkerEventController::toPulses(node, m->getStart(), tempo));
    if (dynamic_cast<MRangeMarkerEvent*>(m) != nullptr)
      s.out() << " - " << bars(s, MMarkerEventController::toPulses(node, m->getEnd(), tempo));
    if (locator) s.out() << "  (locator marker)";
    s.out() << '\n';
  }
  if (node.getDomain() == MTimeDomain::kLinear) s.out() << "markers in linear time\n";
  const MTransport& t = s.transport();
  s.out() << "locators " << bars(s, t.getLeftLocator()) << " - " << bars(s, t.getRightLocator()) << ", cycle "
          << (t.isCycleOn() ? "on" : "off") << '\n';
  return true;
}

bool listTempo(ShellSession& s, const ShellArgs&) {
  const MTempoTrackNode* node = s.project().getTempoNode();
  for (size_t i = 0; i < node->tempoCount(); ++i) {
    const MTempoEvent* e = node->tempoEvent(i);
    s.out() << bars(s, e->getStart()) << "  " << MTimeRange::formatTempo(e->getBPM()) << " BPM  "
            << (e->getFunc() == MTempoFunc::kRamp ? "ramp" : "jump") << "  at "
            << s.positions().formatTime(e->getStart()).value_or("?") << '\n';
  }
  return true;
}

bool listSignatures(ShellSession& s, const ShellArgs&) {
  const MSignatureTrackNode* node = s.project().getSignatureNode();
  for (size_t i = 0; i < node->signatureCount(); ++i) {
    const MTimeSignatureEvent* e = node->signature(i);
    s.out() << bars(s, e->getStart()) << "  " << e->getNumerator() << '/' << e->getDenominator() << '\n';
  }
  return true;
}

bool listGroupsVerb(ShellSession& s, const ShellArgs&) {
  const std::vector<MEvent*> groups = listGroups(s.project());
  if (groups.empty()) s.out() << "no groups\n";
  for (size_t i = 0; i < groups.size(); ++i) {
    const auto* group = dynamic_cast<const MVirtualGroup*>(groups[i]->getNode());
    s.out() << (i + 1) << "  \"" << eventName(*groups[i]) << "\"  " << (group != nullptr ? group->memberCount() : 0)
            << " members\n";
  }
  return true;
}

}  // namespace

void addListingVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"tracks", "", "list the tracks", listTracksVerb});
  verbs.push_back({"parts", "TRACK", "list the parts of a track", listParts});
  verbs.push_back({"events", "PART", "list the events inside a part", listEvents});
  verbs.push_back({"markers", "", "list the markers, the locators and the cycle", listMarkers});
  verbs.push_back({"tempos", "", "list the tempo changes", listTempo});
  verbs.push_back({"signatures", "", "list the time signatures", listSignatures});
  verbs.push_back({"groups", "", "list the virtual groups", listGroupsVerb});
}

}  // namespace vantor::cli

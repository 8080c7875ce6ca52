#include "cli/ProjectInfo.h"

#include <nlohmann/json.hpp>

#include <ostream>
#include <string_view>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "audio/pool/PPoolOperations.h"
#include "cli/JsonWriter.h"
#include "cli/MixerText.h"
#include "cli/ShellReferences.h"
#include "document/PArrangement.h"
#include "document/PDocument.h"
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
#include "model/tree/MTrackList.h"

namespace vantor::cli {

namespace {

using nlohmann::json;

struct Clock {
  const MPosition& positions;
  json at(double pulses) const {
    return {{"pulses", pulses},
            {"bars", positions.formatBars(pulses).value_or("")},
            {"time", positions.formatTime(pulses).value_or("")}};
  }
};

json describePart(const MEvent& e, const Clock& clock) {
  const auto* part = dynamic_cast<const MPartEvent*>(&e);
  const MEventContainer* inside = e.getNode() != nullptr ? e.getNode()->events() : nullptr;
  return {{"name", part != nullptr ? part->getName() : ""},
          {"class", e.getClassName()},
          {"start", clock.at(e.getStart())},
          {"end", clock.at(e.getEnd())},
          {"length", e.getLength()},
          {"offset", e.getOffset()},
          {"events", inside != nullptr ? inside->size() : 0},
          {"muted", e.isMuted()},
          {"color", part != nullptr ? part->getColor() : 0},
          {"locked", e.isLocked()}};
}

// Writes the members of object in key order, and at key (whose place the
// object holds with a placeholder) what writeStreamed writes instead.
template <class WriteStreamed>
void writeMembers(JsonWriter& writer, const json& object, std::string_view key, WriteStreamed writeStreamed) {
  for (const auto& [name, value] : object.items()) {
    writer.key(name);
    if (name == key) {
      writeStreamed();
    } else {
      writer.value(value);
    }
  }
}

// The tracks, each part written as soon as it is described.
void writeTracks(JsonWriter& writer, const MProject& project, const Clock& clock) {
  writer.beginArray();
  const std::vector<MTrackEvent*> all = listTracks(project);
  for (size_t i = 0; i < all.size(); ++i) {
    const MTrackEvent& t = *all[i];
    const auto* folder = dynamic_cast<const MFolderTrack*>(&t);
    json track = {{"number", i + 1},
                  {"kind", trackKindName(t)},
                  {"name", t.getName()},
                  {"parts", nullptr},
                  {"muted", t.isMuted()},
                  {"solo", t.isSolo()},
                  {"volume", t.getAttribute(MTrackAttribute::kVolume) / 100.0},
                  {"pan", t.getAttribute(MTrackAttribute::kPan)},
                  {"color", t.getAttribute(MTrackAttribute::kColor)}};
    if (folder != nullptr && folder->getTrackList()) track["tracksInside"] = folder->getTrackList()->count();
    writer.beginObject();
    writeMembers(writer, track, "parts", [&] {
      writer.beginArray();
      if (folder == nullptr) {
        for (MEvent* e : eventsOf(t.getNode())) writer.value(describePart(*e, clock));
      }
      writer.end();
    });
    writer.end();
  }
  writer.end();
}

// The text listing of the tracks, straight from the tree: a project of a
// hundred thousand parts would otherwise be built as a JSON tree first,
// which costs several times the opening in time and memory.
void printTracks(std::ostream& out, const MProject& project, const MPosition& positions) {
  const auto bars = [&positions](double pulses) { return positions.formatBars(pulses).value_or(""); };
  const std::vector<MTrackEvent*> all = listTracks(project);
  out << "Tracks: " << all.size() << '\n';
  for (size_t i = 0; i < all.size(); ++i) {
    const MTrackEvent& t = *all[i];
    out << "  " << i + 1 << ". " << trackKindName(t) << " " << quotedText(t.getName()) << ", ";
    const auto* folder = dynamic_cast<const MFolderTrack*>(&t);
    if (folder != nullptr && folder->getTrackList()) {
      out << folder->getTrackList()->count() << " tracks inside\n";
      continue;
    }
    const std::vector<MEvent*> parts = folder != nullptr ? std::vector<MEvent*>() : eventsOf(t.getNode());
    out << parts.size() << (parts.size() == 1 ? " part" : " parts");
    if (t.hasAttribute(MTrackAttribute::kVolume))
      out << ", volume " << volumeText(t.getAttribute(MTrackAttribute::kVolume));
    if (t.hasAttribute(MTrackAttribute::kPan)) out << ", pan " << panText(t.getAttribute(MTrackAttribute::kPan));
    out << (t.isMuted() ? ", muted" : "") << (t.isSolo() ? ", solo" : "") << '\n';
    for (const MEvent* e : parts) {
      const auto* part = dynamic_cast<const MPartEvent*>(e);
      const MEventContainer* inside = e->getNode() != nullptr ? e->getNode()->events() : nullptr;
      out << "      " << quotedText(part != nullptr ? part->getName() : "") << " " << bars(e->getStart()) << " - "
          << bars(e->getEnd()) << ", " << (inside != nullptr ? inside->size() : 0) << " events"
          << (e->isMuted() ? ", muted" : "") << (e->isLocked() ? ", locked" : "") << '\n';
    }
  }
}

void printHead(std::ostream& out, const json& info) {
  const json& v = info["version"];
  out << "Project " << printable(info["file"].get<std::string>()) << "\n  written by "
      << printable(v["application"].get<std::string>()) << ' ' << printable(v["version"].get<std::string>()) << " ("
      << printable(v["buildDate"].get<std::string>()) << ", format revision " << v["revision"].get<int>()
      << ")\nTempo:\n";
  for (const json& e : info["tempo"]["events"]) {
    out << "  " << e["bars"].get<std::string>() << "  " << MTimeRange::formatTempo(e["bpm"].get<double>()) << " BPM, "
        << e["function"].get<std::string>() << ", at " << e["time"].get<std::string>() << '\n';
  }
  out << "Signatures:\n";
  for (const json& e : info["signatures"]) {
    out << "  " << e["bars"].get<std::string>() << "  " << e["numerator"].get<int>() << '/'
        << e["denominator"].get<int>() << '\n';
  }
}

void printTail(std::ostream& out, const json& info) {
  out << "Markers: " << info["markers"].size() << '\n';
  for (const json& m : info["markers"]) {
    out << "  " << m["id"].get<int>() << " " << quotedText(m["name"].get<std::string>()) << " at "
        << m["start"]["bars"].get<std::string>() << '\n';
  }
  if (info.contains("locators")) {
    out << "Locators: " << info["locators"]["left"]["bars"].get<std::string>() << " - "
        << info["locators"]["right"]["bars"].get<std::string>() << ", cycle "
        << (info["locators"]["cycle"].get<bool>() ? "on" : "off") << '\n';
  }
  // An audio pool shows its information line; another pool object its class.
  const json& pool = info["pool"];
  out << "Pool: "
      << (!pool["present"].get<bool>() ? std::string("empty")
          : pool.contains("line")      ? pool["line"].get<std::string>()
                                       : pool["class"].get<std::string>())
      << '\n';
}

json describe(const PDocument& document);

}  // namespace

void writeProjectJson(std::ostream& out, const PDocument& document) {
  json info = describe(document);
  info["tracks"] = nullptr;
  const MProject& project = *document.project();
  const MPosition positions(*project.getSignatureNode(), *project.getTempoNode());
  JsonWriter writer(out);
  writer.beginObject();
  writeMembers(writer, info, "tracks", [&] { writeTracks(writer, project, Clock{positions}); });
  writer.end();
}

void printProject(std::ostream& out, const PDocument& document) {
  const json info = describe(document);
  printHead(out, info);
  const MProject& project = *document.project();
  printTracks(out, project, MPosition(*project.getSignatureNode(), *project.getTempoNode()));
  printTail(out, info);
}

namespace {

// Everything but the tracks.
json describe(const PDocument& document) {
  const MProject& project = *document.project();
  const MTempoTrackNode& tempo = *project.getTempoNode();
  const MSignatureTrackNode& signatures = *project.getSignatureNode();
  const MPosition positions(signatures, tempo);
  const Clock clock{positions};

  json info;
  info["file"] = document.path();
  const PAppVersion& version = document.fileVersion();
  info["version"] = {{"application", version.applicationName()},
                     {"version", version.versionText()},
                     {"buildDate", version.buildDate()},
                     {"revision", version.revision()}};
  json tempoEvents = json::array();
  for (size_t i = 0; i < tempo.tempoCount(); ++i) {
    const MTempoEvent* e = tempo.tempoEvent(i);
    json entry = clock.at(e->getStart());
    // Tempo is kept as a float of seconds per beat; people read it in the
    // hundredths of a BPM that it is typed in (140, not 139.9999986).
    entry["bpm"] = MTimeRange::roundedTempo(e->getBPM());
    entry["seconds"] = e->getTime();
    entry["function"] = e->getFunc() == MTempoFunc::kRamp ? "ramp" : "jump";
    tempoEvents.push_back(std::move(entry));
  }
  info["tempo"] = {{"events", tempoEvents},
                   {"rehearsalMode", tempo.isRehearsalMode()},
                   {"rehearsalTempo", MTimeRange::roundedTempo(tempo.getRehearsalTempo())}};
  json signatureEvents = json::array();
  for (size_t i = 0; i < signatures.signatureCount(); ++i) {
    const MTimeSignatureEvent* e = signatures.signature(i);
    json entry = clock.at(e->getStart());
    entry["numerator"] = e->getNumerator();
    entry["denominator"] = e->getDenominator();
    signatureEvents.push_back(std::move(entry));
  }
  info["signatures"] = signatureEvents;
  json markers = json::array();
  const MDataNode& markerNode = *project.getMarkerTrack()->getNode();
  for (MEvent* e : eventsOf(&markerNode)) {
    const auto* m = dynamic_cast<const MMarkerEvent*>(e);
    if (m == nullptr) continue;
    // Markers in linear time are shown in pulses like everything else.
    const double start = MMarkerEventController::toPulses(markerNode, m->getStart(), project.getTempoNode());
    const double end = MMarkerEventController::toPulses(markerNode, m->getEnd(), project.getTempoNode());
    markers.push_back({{"id", m->getMarkerID()},
                       {"name", m->getName()},
                       {"start", clock.at(start)},
                       {"length", end - start},
                       {"locator", dynamic_cast<const MCycleEvent*>(m) != nullptr}});
  }
  info["markers"] = markers;
  if (const MTransport* transport = document.arrangement()->getTransport()) {
    info["locators"] = {{"left", clock.at(transport->getLeftLocator())},
                        {"right", clock.at(transport->getRightLocator())},
                        {"cycle", transport->isCycleOn()}};
  }
  const CmObject* pool = project.getPool();
  info["pool"] = {{"present", pool != nullptr}, {"class", pool != nullptr ? pool->getClassName() : ""}};
  if (const auto* audio = dynamic_cast<const PAudioPool*>(pool)) {
    info["pool"]["clips"] = audio->clips().size();
    info["pool"]["line"] = formatPoolInfo(poolInfo(project, *audio));
  }
  return info;
}

}  // namespace

}  // namespace vantor::cli

#pragma once
// The editing behaviour of markers and of the marker track: the properties
// that scripts and the command line read and set ("name", "start", "length"
// of a marker; "name", "timeType", "locateMarker", "setCycle", "setZoom",
// "newMarker", "newCycleMarker" of the marker track). Setting a property
// gives a command to perform through the undo history, the locators and
// the cycle switch included (MTransportCommand): they are saved with the
// project, so they change as every other edit does.

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/FRef.h"
#include "model/markers/MMarkerEvent.h"
#include "model/markers/MTransport.h"
#include "model/tree/MEventController.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MTrackEvent.h"
#include "model/undo/MCommand.h"

namespace vantor {

class MTempoTrackNode;

// What the marker track's properties act on besides the track: the
// transport (locators, cycle) and the tempo map (time type). Either may be
// null; the properties that need it then refuse.
struct MMarkerTrackContext {
  MTransport* transport = nullptr;
  MTempoTrackNode* tempo = nullptr;
};

// The outcome of setting a property: a command to perform, or none when
// there was nothing to change; error says why it was refused ("" when it was not).
struct MPropertyEdit {
  FRef<MCommand> command;
  std::string error;
  bool ok() const { return error.empty(); }
};

class MMarkerEventController : public MEventController {
  VANTOR_CLASS(MMarkerEventController)
 public:
  static constexpr std::array<std::string_view, 3> kMarkerProperties = {"name", "start", "length"};
  static constexpr std::array<std::string_view, 7> kTrackProperties = {
      "name", "timeType", "locateMarker", "setCycle", "setZoom", "newMarker", "newCycleMarker"};

  // Plain and range markers may be renamed while not locked; a locator
  // marker's name follows its ID and never changes.
  bool canRename(const MEvent& event) const override;
  std::string getName(const MEvent& event) const override;
  [[nodiscard]] bool setName(MEvent& event, std::string name) const override;
  // 'marker 3 "Chorus"', 'the left locator marker', 'the marker track'.
  std::string describe(const MEvent& event) const override;
  std::string refusal(const MEvent& event, MEventEdit edit) const override;

  // A marker property: "name" (text), "start", "length" (pulses, in the
  // marker track's domain); nullopt for another name or event.
  std::optional<MPropertyValue> getProperty(const MEvent& marker, std::string_view name) const;
  // The command that sets a marker property: "name" renames, "start" moves,
  // "length" resizes a range marker (a plain marker has no length).
  MPropertyEdit setProperty(MEvent& marker, std::string_view name, const MPropertyValue& value) const;

  // A marker track property: "name" (text), "timeType" ("musical" or
  // "linear"), "setCycle" (the cycle switch); nullopt for the others, which
  // are actions rather than values.
  std::optional<MPropertyValue> getTrackProperty(const MMarkerTrackEvent& track, std::string_view name,
                                                 const MMarkerTrackContext& context) const;
  // Sets a marker track property or runs its action:
  //  "name" (text)          renames the track;
  //  "timeType" (text)      "musical" or "linear": the markers' time domain,
  //                         converted through the tempo map so each marker
  //                         keeps the moment it stands at;
  //  "locateMarker" (ID)    sets the locators to the marker: a range marker's
  //                         start and end, a plain marker's start for both;
  //  "setCycle" (switch)    switches the cycle;
  //  "setZoom" (ID)         sets the locators to the span from the marker to
  //                         the next marker (or its own end for a range),
  //                         the range that a view zooms to;
  //  "newMarker" (pulses)   inserts a plain marker with the lowest free ID;
  //  "newCycleMarker"       makes the one set of locator markers hold the
  //                         locators: inserts those missing and moves those
  //                         that stand elsewhere (nothing when all hold).
  MPropertyEdit setTrackProperty(MMarkerTrackEvent& track, std::string_view name, const MPropertyValue& value,
                                 const MMarkerTrackContext& context) const;

  // The command that inserts marker (positions in pulses) into the marker
  // track: its positions are converted into the track's domain, and a
  // plain or range marker without an ID (0) is numbered with the lowest
  // free ID. "Insert Marker".
  static MPropertyEdit insertMarker(MMarkerTrackEvent& track, FRef<MMarkerEvent> marker,
                                    const MMarkerTrackContext& context);

  // A position of the marker track's node (pulses, or seconds in the linear
  // domain) as pulses, and back. Without a tempo map seconds count at 120
  // BPM.
  static double toPulses(const MDataNode& node, double value, const MTempoTrackNode* tempo);
  static double fromPulses(const MDataNode& node, double pulses, const MTempoTrackNode* tempo);
};

// The locator marker of node that follows locator id (1 left, 2 right), or
// nullptr. A project keeps at most one of each.
MCycleEvent* findLocatorMarker(const MDataNode& node, int32_t id);

}  // namespace vantor

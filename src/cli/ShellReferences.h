#pragma once
// How shell lines name tracks and events: tracks by number (in the order
// `tracks` lists them, folder contents after their folder) or by name; parts
// as TRACK:N and events inside parts as TRACK:N:M, counted from 1 in start
// order.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {
class MDataNode;
class MEvent;
class MProject;
class MTrackEvent;
}  // namespace vantor

namespace vantor::cli {

// Every track of the project in display order.
std::vector<MTrackEvent*> listTracks(const MProject& project);
// The events a node holds, in its order (empty for a node without events).
std::vector<MEvent*> eventsOf(const MDataNode* node);
// The kind of a track as users name it: "Audio", "MIDI", "Folder", "Marker",
// "Video", "Group Channel", "Master Automation", "Device".
std::string trackKindName(const MTrackEvent& track);
// Text from a project (names, version strings) as it may be printed on a
// terminal: control characters (C0, DEL and C1) as \n, \t, \r or \xHH /
// \u0080..\u009F, bytes that are not UTF-8 as \xHH, and a backslash
// doubled, so that no name can move the cursor, forge an output line or
// send a terminal command. quotedText() also escapes '"' and adds the quotes.
std::string printable(std::string_view text);
std::string quotedText(std::string_view text);
// The name of a part, marker or event as listings show it: a part's or
// marker's own name, else its node's ("" without one).
std::string eventName(const MEvent& event);
// Splits "a:b:c" at the colons.
std::vector<std::string> splitReference(const std::string& text);

}  // namespace vantor::cli

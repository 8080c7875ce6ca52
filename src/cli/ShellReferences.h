#pragma once
// How shell lines name tracks and events: tracks by number (in the order
// `tracks` lists them, folder contents after their folder) or by name; parts
// as TRACK:N and events inside parts as TRACK:N:M, counted from 1 in start
// order.

#include <cstdint>
#include <string>
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
// A time signature typed as "N/D" (the model's rule: numerator 1 to 255,
// denominator a power of two from 1 to 128); false with a message in *error
// for other text.
bool parseSignature(const std::string& text, uint16_t* numerator, uint16_t* denominator, std::string* error);
// Splits "a:b:c" at the colons.
std::vector<std::string> splitReference(const std::string& text);

}  // namespace vantor::cli

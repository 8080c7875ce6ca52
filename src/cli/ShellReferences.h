#pragma once
// How shell lines name tracks and events: tracks by number (in the order
// `tracks` lists them, folder contents after their folder) or by name; parts
// as TRACK:N and events inside parts as TRACK:N:M, counted from 1 in start
// order.

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
// Splits "a:b:c" at the colons.
std::vector<std::string> splitReference(const std::string& text);

}  // namespace vantor::cli

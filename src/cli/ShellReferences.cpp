#include "cli/ShellReferences.h"

#include <charconv>
#include <string_view>

#include "cli/ShellSession.h"
#include "model/markers/MMarkerEvent.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MName.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"

namespace vantor::cli {

namespace {

void appendTracks(const MTrackList* list, std::vector<MTrackEvent*>& out) {
  if (list == nullptr) return;
  for (size_t i = 0; i < list->count(); ++i) {
    MTrackEvent* track = list->at(i);
    out.push_back(track);
    if (auto* folder = dynamic_cast<MFolderTrack*>(track)) appendTracks(folder->getTrackList(), out);
  }
}

bool parseIndex(const std::string& text, size_t* index) {
  size_t value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || value == 0) return false;
  *index = value;
  return true;
}

}  // namespace

std::vector<MTrackEvent*> listTracks(const MProject& project) {
  std::vector<MTrackEvent*> tracks;
  appendTracks(project.getTrackList(), tracks);
  return tracks;
}

std::vector<MEvent*> eventsOf(const MDataNode* node) {
  std::vector<MEvent*> events;
  const MEventContainer* container = node != nullptr ? node->events() : nullptr;
  if (container == nullptr) return events;
  for (const auto& event : *container) events.push_back(event.get());
  return events;
}

std::string trackKindName(const MTrackEvent& track) {
  if (dynamic_cast<const MAudioTrackEvent*>(&track)) return "Audio";
  if (dynamic_cast<const MMidiTrackEvent*>(&track)) return "MIDI";
  if (dynamic_cast<const MFolderTrack*>(&track)) return "Folder";
  if (dynamic_cast<const MMarkerTrackEvent*>(&track)) return "Marker";
  if (dynamic_cast<const MVideoTrackEvent*>(&track)) return "Video";
  if (const auto* device = dynamic_cast<const MDeviceTrackEvent*>(&track)) {
    switch (device->getDeviceKind()) {
      case MDeviceKind::kGroupChannel:
        return "Group Channel";
      case MDeviceKind::kMasterAutomation:
        return "Master Automation";
      default:
        return "Device";
    }
  }
  return track.getClassName();
}

std::string eventName(const MEvent& event) {
  if (auto* part = dynamic_cast<const MPartEvent*>(&event)) return part->getName();
  if (auto* marker = dynamic_cast<const MMarkerEvent*>(&event)) return marker->getName();
  return event.getNode() != nullptr ? event.getNode()->getName() : "";
}

std::vector<std::string> splitReference(const std::string& text) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (;;) {
    const size_t colon = text.find(':', start);
    parts.push_back(text.substr(start, colon - start));
    if (colon == std::string::npos) return parts;
    start = colon + 1;
  }
}

MTrackEvent* ShellSession::track(const std::string& text) {
  const std::vector<MTrackEvent*> tracks = listTracks(project());
  size_t number = 0;
  if (parseIndex(text, &number)) {
    if (number <= tracks.size()) return tracks[number - 1];
    fail("there is no track " + text + " (the project has " + std::to_string(tracks.size()) + ")");
    return nullptr;
  }
  MTrackEvent* found = nullptr;
  for (MTrackEvent* t : tracks) {
    if (t->getName() != text) continue;
    if (found != nullptr) {
      fail("more than one track is named \"" + text + "\"; use its number");
      return nullptr;
    }
    found = t;
  }
  if (found == nullptr) fail("there is no track named \"" + text + "\"");
  return found;
}

MEvent* ShellSession::event(const std::string& text, double* origin) {
  if (origin != nullptr) *origin = 0;
  const std::vector<std::string> parts = splitReference(text);
  if (parts.size() < 2 || parts.size() > 3) {
    fail("\"" + text + "\" is not an event reference (TRACK:PART or TRACK:PART:EVENT)");
    return nullptr;
  }
  MTrackEvent* owner = track(parts[0]);
  if (owner == nullptr) return nullptr;
  MEvent* current = owner;
  for (size_t level = 1; level < parts.size(); ++level) {
    MEvent* next = inside(current, parts[level], text);
    if (next == nullptr) return nullptr;
    // Events inside a part count from its content origin.
    if (origin != nullptr && level == 2) {
      if (const auto* part = dynamic_cast<const MPartEvent*>(current)) *origin += part->getContentOrigin();
    }
    current = next;
  }
  return current;
}

// The part or event of holder named by word: its number from 1, or its name
// when word is not made of digits (a name that two share is refused).
MEvent* ShellSession::inside(const MEvent* holder, const std::string& word, const std::string& text) {
  const std::vector<MEvent*> events = eventsOf(holder->getNode());
  size_t number = 0;
  if (parseIndex(word, &number)) {
    if (number <= events.size()) return events[number - 1];
    fail("there is no event " + text + " (" + std::to_string(events.size()) + " there)");
    return nullptr;
  }
  if (word.empty() || word.find_first_not_of("0123456789") == std::string::npos) {
    fail("\"" + word + "\" in \"" + text + "\" is not a number from 1");
    return nullptr;
  }
  MEvent* found = nullptr;
  for (MEvent* event : events) {
    if (eventName(*event) != word) continue;
    if (found != nullptr) {
      fail("more than one event is named \"" + word + "\" in \"" + text + "\"; use its number");
      return nullptr;
    }
    found = event;
  }
  if (found == nullptr) fail("there is no event named \"" + word + "\" in \"" + text + "\"");
  return found;
}

namespace {

std::string escaped(std::string_view text, bool escapeQuote) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    const size_t length = utf8SequenceLength(text, i);
    if (length > 1) {
      const auto second = static_cast<unsigned char>(text[i + 1]);
      if (c == 0xC2 && second < 0xA0) {  // C1 controls U+0080..U+009F
        out += "\\u00";
        out += kHex[second >> 4];
        out += kHex[second & 15];
      } else {
        out.append(text.substr(i, length));
      }
      i += length;
      continue;
    }
    if (c == '\\' || (escapeQuote && c == '"')) {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == '\r') {
      out += "\\r";
    } else if (c < 0x20 || c == 0x7F || length == 0) {
      out += "\\x";
      out += kHex[c >> 4];
      out += kHex[c & 15];
    } else {
      out += static_cast<char>(c);
    }
    ++i;
  }
  return out;
}

}  // namespace

std::string printable(std::string_view text) { return escaped(text, false); }

std::string quotedText(std::string_view text) { return "\"" + escaped(text, true) + "\""; }

}  // namespace vantor::cli

// Shell verbs on tracks: add, remove, move, rename, colour, and the mixer
// channel: volume, pan, mute, solo.

#include <algorithm>
#include <cctype>

#include "cli/MixerText.h"
#include "cli/ShellReferences.h"
#include "cli/ShellSession.h"
#include "model/edit/MAttributeCommands.h"
#include "model/edit/MTrackCommands.h"
#include "model/edit/MTrackMixCommands.h"
#include "model/tree/MEventController.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"

namespace vantor::cli {

namespace {

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

// Track kinds by the registered key, or by a short word: audio, midi,
// marker, folder, video, group, master.
std::string trackKind(const std::string& word) {
  const std::string w = lower(word);
  if (w == "group") return "Group Channel";
  if (w == "master") return "Master Automation";
  for (const auto& entry : MCategoryRegistry::instance().entries(MCategoryRegistry::kTrackClass)) {
    if (lower(entry.key) == w) return entry.key;
  }
  return {};
}

// Colours as a number or #RRGGBB.
std::optional<int32_t> colour(ShellSession& session, const std::string& text) {
  if (text.size() == 7 && text[0] == '#') {
    int32_t value = 0;
    for (size_t i = 1; i < 7; ++i) {
      const int digit =
          std::isxdigit(static_cast<unsigned char>(text[i]))
              ? (std::isdigit(static_cast<unsigned char>(text[i])) ? text[i] - '0' : std::tolower(text[i]) - 'a' + 10)
              : -1;
      if (digit < 0) {
        session.fail("bad colour \"" + text + "\" (a number or #RRGGBB)");
        return std::nullopt;
      }
      value = value * 16 + digit;
    }
    return value;
  }
  auto value = session.integer(text, 0, 0xFFFFFF, "colour");
  if (!value) return std::nullopt;
  return static_cast<int32_t>(*value);
}

bool addTrack(ShellSession& s, const ShellArgs& a) {
  if (a.empty() || a.size() > 3) return s.fail("usage: track add KIND [NAME] [POSITION]");
  const std::string kind = trackKind(a[0]);
  if (kind.empty())
    return s.fail("unknown track kind \"" + a[0] + "\" (audio, midi, marker, folder, video, group, master)");
  FRef<MTrackEvent> track = MProject::createTrack(kind, a.size() > 1 ? a[1] : kind);
  if (!track) return s.fail("the track could not be made");
  MTrackList* list = s.project().getTrackList();
  size_t index = MTrackList::npos;
  if (a.size() > 2) {
    auto at = s.integer(a[2], 1, static_cast<long>(list->count()) + 1, "track position");
    if (!at) return false;
    index = static_cast<size_t>(*at - 1);
  }
  return s.perform(makeRef<MInsertTrackCommand>(FRef<MTrackList>::share(list), track, index));
}

bool removeTrack(ShellSession& s, const ShellArgs& a) {
  if (a.empty()) return s.fail("usage: track remove TRACK...");
  std::vector<FRef<MTrackEvent>> tracks;
  for (const std::string& ref : a) {
    MTrackEvent* t = s.track(ref);
    if (t == nullptr) return false;
    tracks.push_back(FRef<MTrackEvent>::share(t));
  }
  return s.perform(makeRef<MRemoveTrackCommand>(std::move(tracks)));
}

bool moveTrack(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: track move TRACK POSITION");
  MTrackEvent* t = s.track(a[0]);
  if (t == nullptr) return false;
  auto* list = dynamic_cast<MTrackList*>(t->getParent());
  if (list == nullptr) return s.fail("the track is not in a track list");
  auto at = s.integer(a[1], 1, static_cast<long>(list->count()), "track position");
  if (!at) return false;
  return s.perform(makeRef<MMoveTrackCommand>(FRef<MTrackEvent>::share(t), static_cast<size_t>(*at - 1)));
}

bool renameTrack(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: track rename TRACK NAME");
  MTrackEvent* t = s.track(a[0]);
  if (t == nullptr) return false;
  return s.perform(makeRef<MRenameCommand>(FRef<MEvent>::share(t), a[1]));
}

bool colourTrack(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: track color TRACK COLOUR");
  MTrackEvent* t = s.track(a[0]);
  if (t == nullptr) return false;
  auto c = colour(s, a[1]);
  if (!c) return false;
  return s.perform(makeRef<MColorCommand>(std::vector<FRef<MEvent>>{FRef<MEvent>::share(t)}, *c));
}

std::vector<FRef<MTrackEvent>> one(MTrackEvent* track) { return {FRef<MTrackEvent>::share(track)}; }

bool trackVolume(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: track volume TRACK DB");
  MTrackEvent* t = s.track(a[0]);
  if (t == nullptr) return false;
  auto volume = parseVolume(a[1]);
  if (!volume) return s.fail("bad volume \"" + a[1] + "\" (decibels such as -6, -6dB, +3, or off)");
  return s.perform(makeRef<MTrackVolumeCommand>(one(t), *volume));
}

bool trackPan(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: track pan TRACK VALUE");
  MTrackEvent* t = s.track(a[0]);
  if (t == nullptr) return false;
  auto pan = parsePan(a[1]);
  if (!pan) return s.fail("bad pan \"" + a[1] + "\" (-100 to 100, L30, R30 or C)");
  return s.perform(makeRef<MTrackPanCommand>(one(t), *pan));
}

bool trackMute(ShellSession& s, const ShellArgs& a) {
  if (a.empty() || a.size() > 2) return s.fail("usage: track mute TRACK [on|off]");
  MTrackEvent* t = s.track(a[0]);
  if (t == nullptr) return false;
  auto on = s.onOff(a, 1, true);
  return on && s.perform(makeRef<MMuteCommand>(std::vector<FRef<MEvent>>{FRef<MEvent>::share(t)}, *on));
}

bool trackSolo(ShellSession& s, const ShellArgs& a) {
  if (a.empty() || a.size() > 2) return s.fail("usage: track solo TRACK [on|off]");
  MTrackEvent* t = s.track(a[0]);
  if (t == nullptr) return false;
  auto on = s.onOff(a, 1, true);
  return on && s.perform(makeRef<MSoloCommand>(one(t), *on));
}

}  // namespace

std::optional<int32_t> parseColour(ShellSession& session, const std::string& text) { return colour(session, text); }

void addTrackVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"track add", "KIND [NAME] [POSITION]",
                   "add a track (audio, midi, marker, folder, video, group, master) at the end or at POSITION",
                   addTrack});
  verbs.push_back({"track remove", "TRACK...", "remove tracks", removeTrack});
  verbs.push_back({"track move", "TRACK POSITION", "move a track to another place in its list", moveTrack});
  verbs.push_back({"track rename", "TRACK NAME", "rename a track", renameTrack});
  verbs.push_back({"track color", "TRACK COLOUR", "colour a track (a number or #RRGGBB)", colourTrack});
  verbs.push_back({"track volume", "TRACK DB",
                   "set a track's volume: decibels from -144 to +12 (-6, -6dB, +3) or off; repeats unite into one undo",
                   trackVolume});
  verbs.push_back({"track pan", "TRACK VALUE",
                   "set a track's pan: -100 (left) to 100 (right), or L30, R30, C; repeats unite into one undo",
                   trackPan});
  verbs.push_back({"track mute", "TRACK [on|off]", "mute or unmute a track", trackMute});
  verbs.push_back({"track solo", "TRACK [on|off]", "solo or unsolo a track", trackSolo});
}

}  // namespace vantor::cli

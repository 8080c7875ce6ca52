#pragma once
// Builds the playback plan of a document's project: what every track plays,
// resolved to frames of the project's sample rate (the "Devices" root's
// rate, 48000 Hz without one). Built under the root's read lock, so it may
// run on any thread while no command runs.
//
// What is heard:
// - Audio events of the audio parts of audio tracks: the event starts at
//   the frame of its absolute start (pulses through the tempo map, rounded),
//   plays its clip's frames from clipStart for clipLength frames (frames
//   follow, not pulses), cut at its part's start and end; the track's delay
//   (ms) shifts it. Fades: the event's own where set, else the project's
//   automatic fade for that edge when it is on; each at most half the event.
// - MIDI events of the MIDI parts of MIDI tracks: notes as note-on and
//   note-off, controllers, program changes, pitch bend and pressures at the
//   frame of their position (ramps included). Events outside their part are
//   not played; a note that crosses the part's end ends there. At one frame
//   a track's note-offs go first, then its other messages, then its
//   note-ons, each group in the order of the part.
// - Track device channel: a track bound to an output by name (a non-empty
//   device name) with a channel of 0 to 15 plays every message on that
//   channel; a track without a device name, or with channel -1 ("any"),
//   keeps each event's own channel (so drums imported on channel 10 stay
//   drums in a project whose tracks were never bound).
// - Muted events, parts and tracks are left out; a folder's mute mutes the
//   tracks inside it and its solo solos them. When any track is soloed only
//   soloed tracks sound.
// - Instruments: every MIDI track plays through `options.instrument`,
//   except a track whose device name is kBuiltinSynthDevice (compared
//   without case), which keeps the built-in synthesizer.
// - Clicks: metronomeClicks() up to the later of the end and the right locator.

#include <string>

#include "render/RInstrument.h"
#include "render/RPlaybackPlan.h"

namespace vantor {

class PDocument;

// The device name by which a track asks for the built-in synthesizer.
inline constexpr const char* kBuiltinSynthDevice = "Vantor Synth";

// Frames an instrument may still sound after the last MIDI message (its release).
inline constexpr double kReleaseTailSeconds = 2.0;

struct RPlanOptions {
  RInstrumentChoice instrument;  // what MIDI tracks play through
};

// Fills `plan` from the document's project, taking the read side of the
// root's lock: not to be called by a thread that holds the write side (a
// command in progress) or the read side already. False with a message when
// the document holds no project (the plan is then empty).
[[nodiscard]] bool buildPlaybackPlan(const PDocument& document, const RPlanOptions& options, RPlaybackPlan* plan,
                                     std::string* error);

}  // namespace vantor

#pragma once
// The pool's operations on the project: which events use which clip, and
// the commands built from that ("Remove Unused Media", "Remove Missing
// Files", removing used clips, "New Version", "Insert into Project",
// "Create Regions"), "Select in Project" and the information line.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "audio/pool/MAudioEvent.h"
#include "audio/pool/PAudioPool.h"
#include "audio/pool/PRegionDescription.h"
#include "foundation/FRef.h"
#include "foundation/FUserMessages.h"
#include "model/undo/MCommand.h"

namespace vantor {

class MProject;
class MTrackEvent;

// The audio events of project that use clip, in tree order.
std::vector<MAudioEvent*> eventsUsing(const MProject& project, const PAudioClip* clip);
// How many events use each clip (clips no event uses are absent).
std::map<const PAudioClip*, size_t> clipUsage(const MProject& project);
// Whether one of the clip's files cannot be found on disk.
bool hasMissingFile(const PAudioClip& clip);

// Takes clips out of pool. For each clip that events use, the user is asked
// kClipIsUsedQuestion ("Remove" or "Cancel"); "Remove" takes those events
// out of the project in the same action, "Cancel" leaves everything and
// gives nullptr. description names the action.
FRef<MCommand> makeRemoveClipsCommand(MProject& project, PAudioPool& pool, std::vector<FRef<PAudioClip>> clips,
                                      const std::string& description, FUserMessages& messages);
// "Remove Unused Media": the clips no event uses (in the trash or not);
// nullptr when every clip is used.
FRef<MCommand> makeRemoveUnusedCommand(const MProject& project, PAudioPool& pool);
// "Remove Missing Files": the clips with a file that cannot be found (used
// ones as makeRemoveClipsCommand asks); nullptr when none is missing.
FRef<MCommand> makeRemoveMissingCommand(MProject& project, PAudioPool& pool, FUserMessages& messages);

// "New Version": a new clip beside clip in its folder, named "<name> 2"
// (or the next free number), that shares its files (the cluster) and starts
// with a copy of its material and regions, so either can be edited alone.
// The edit history stays with the original: the new version starts without.
FRef<MCommand> makeNewVersionCommand(PAudioPool& pool, PAudioClip& clip);

// "Create Regions": adds regions (frames of the clip); nullptr when one
// lies outside the clip.
FRef<MCommand> makeCreateRegionsCommand(PAudioClip& clip, std::vector<FRef<MRegionMarker>> regions);

// Where "Insert into Project" places a clip.
enum class PInsertAt { kCursor = 0, kOrigin = 1, kTimecode = 2 };
// "At Cursor", "At Origin", "At Timecode Position...".
const char* insertAtName(PInsertAt at);

// "Insert into Project": an audio part on track holding one audio event of
// the clip's frames [clipStart, clipStart + clipLength) (the whole clip
// when clipLength < 0). Its start: position (pulses) for kCursor and
// kTimecode; for kOrigin the region's or clip's origin time (0 when it has
// none), with position ignored. The lengths in pulses follow from the
// tempo map at that start. nullptr, with *error, when the range lies
// outside the clip or the clip has no sample rate; the track's refusal
// comes when the command is performed.
FRef<MCommand> makeInsertClipCommand(MProject& project, MTrackEvent& track, PAudioClip& clip, PInsertAt at,
                                     double position, int64_t clipStart, int64_t clipLength,
                                     std::optional<double> origin, std::string* error);

// "Select in Project": sets the selection flag on every event that uses
// clip and clears it on every other audio event; returns how many.
size_t selectInProject(MProject& project, const PAudioClip& clip);

// The transfer description of a region of clip: a plain region when its
// frames are one range of one file, else a joined region of file segments
// and silence segments (a split stereo piece names its first file).
// nullopt when the region lies outside the clip's material.
std::optional<PRegionDescription> describeRegion(const PAudioClip& clip, const MRegionMarker& region, int32_t id);

// The numbers of the information line.
struct PPoolInfo {
  int64_t audiofiles = 0;   // distinct files (by path) of the pool's clips
  int64_t used = 0;         // clips that events use
  int64_t totalBytes = 0;   // sample data of all files
  int64_t externFiles = 0;  // files outside the project folder
};
PPoolInfo poolInfo(const MProject& project, const PAudioPool& pool);
// "Audiofiles: 3   Used: 2   Total Size: 1.50 MB   Extern Files: 1".
std::string formatPoolInfo(const PPoolInfo& info);
// A byte count for people: "512 Bytes", "1.50 KB", "12.00 MB", "1.25 GB".
std::string formatSize(int64_t bytes);

}  // namespace vantor

// The shell verbs of the audio pool: listing it, "Import Medium",
// "Extract Audio from Videofile", "Insert into Project", "Create Regions",
// "New Version", "Remove Unused Media", "Create Folder", the trash,
// "Minimize File", "Prepare Archive", "Conform Files", "Find Missing
// Files" and pool files; each change is an undoable step (erasing files and
// writing a pool file are not changes of the project).

#include <cstdlib>
#include <ostream>

#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PAudioPool.h"
#include "audio/pool/PConvertFilesCommand.h"
#include "audio/pool/PMinimizeCommand.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolFile.h"
#include "audio/pool/PPoolMaintenance.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/pool/PVideoAudioExtractor.h"
#include "audio/pool/PoolMessages.h"
#include "cli/PoolCommands.h"
#include "cli/PoolResolve.h"
#include "cli/ShellSession.h"
#include "document/PDeviceSetup.h"
#include "document/PDocument.h"
#include "model/tree/MProject.h"

namespace vantor::cli {

namespace {

PAudioPool& poolOf(ShellSession& s) { return *PAudioPool::ensurePool(s.project()); }

PAudioClip* clipOf(ShellSession& s, const std::string& text) {
  PAudioClip* clip = findPoolClip(&poolOf(s), text);
  if (clip == nullptr) s.fail("the pool has no clip \"" + text + "\"");
  return clip;
}

// A count of frames: digits only, at most 18 of them.
bool parseFrames(const std::string& text, int64_t* out) {
  if (text.empty() || text.size() > 18 || text.find_first_not_of("0123456789") != std::string::npos) return false;
  *out = std::stoll(text);
  return true;
}

bool listPool(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: pool");
  PAudioPool& pool = poolOf(s);
  const auto usage = clipUsage(s.project());
  for (const auto& clip : pool.clips()) {
    const auto found = usage.find(clip.get());
    s.out() << clipLine(*clip, found == usage.end() ? 0 : found->second) << "\n";
  }
  s.out() << formatPoolInfo(poolInfo(s.project(), pool)) << "\n";
  return true;
}

bool importMedium(ShellSession& s, const ShellArgs& a) {
  if (a.empty()) return s.fail("usage: pool import FILE...");
  const std::string choice = s.context().preferences.getString(kOnImportAudiofilePreference);
  PImportOptions options = importOptionsFor(importActionFromName(choice).value_or(PImportAction::kDoNothing),
                                            s.context().messages, a.size());
  options.projectRate = s.document().devices()->sampleRate();
  FRef<MCommand> command = makeImportMediumCommand(poolOf(s), std::vector<std::string>(a.begin(), a.end()), options,
                                                   nullptr, s.context().messages);
  if (!command) return false;
  if (!s.perform(command)) return false;
  for (const auto& clip : static_cast<PAddClipsCommand&>(*command).clips()) s.out() << clipLine(*clip, 0) << "\n";
  return true;
}

// "Extract Audio from Videofile": ffmpeg is looked for on $PATH.
bool extractAudio(ShellSession& s, const ShellArgs& a) {
  if (a.empty()) return s.fail("usage: pool extract VIDEO...");
  const char* path = std::getenv("PATH");
  FRef<MCommand> command = makeExtractAudioCommand(poolOf(s), std::vector<std::string>(a.begin(), a.end()),
                                                   path == nullptr ? "" : path, s.context().messages);
  if (!command || !s.perform(command)) return false;
  for (const auto& clip : static_cast<PAddClipsCommand&>(*command).clips()) s.out() << clipLine(*clip, 0) << "\n";
  return true;
}

bool insertClip(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 2 || a.size() > 3) return s.fail("usage: pool insert CLIP TRACK [POSITION|origin]");
  PAudioClip* clip = clipOf(s, a[0]);
  if (clip == nullptr) return false;
  MTrackEvent* track = s.track(a[1]);
  if (track == nullptr) return false;
  PInsertAt at = PInsertAt::kCursor;
  double position = 0;
  if (a.size() == 3 && a[2] == "origin") {
    at = PInsertAt::kOrigin;
  } else if (a.size() == 3) {
    const auto parsed = s.position(a[2]);
    if (!parsed) return false;
    position = *parsed;
  }
  std::string error;
  FRef<MCommand> command = makeInsertClipCommand(s.project(), *track, *clip, at, position, 0, -1, std::nullopt, &error);
  if (!command) return s.fail("\"" + clip->getName() + "\": " + error);
  return s.perform(command);
}

bool createRegion(ShellSession& s, const ShellArgs& a) {
  int64_t start = 0, length = 0;
  if (a.size() != 4 || !parseFrames(a[2], &start) || !parseFrames(a[3], &length)) {
    return s.fail("usage: pool region CLIP NAME START LENGTH (frames)");
  }
  PAudioClip* clip = clipOf(s, a[0]);
  if (clip == nullptr) return false;
  FRef<MCommand> command = makeCreateRegionsCommand(*clip, {makeRef<MRegionMarker>(a[1], start, length)});
  if (!command) return s.fail("the region lies beyond the end of \"" + clip->getName() + "\"");
  return s.perform(command);
}

bool newVersion(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: pool version CLIP");
  PAudioClip* clip = clipOf(s, a[0]);
  if (clip == nullptr) return false;
  FRef<MCommand> command = makeNewVersionCommand(poolOf(s), *clip);
  if (!s.perform(command)) return false;
  s.out() << clipLine(*static_cast<PAddClipsCommand&>(*command).clips().front(), 0) << "\n";
  return true;
}

bool removeUnused(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: pool remove-unused");
  FRef<MCommand> command = makeRemoveUnusedCommand(s.project(), poolOf(s));
  if (!command) {
    s.out() << "no unused media\n";
    return true;
  }
  return s.perform(command);
}

bool createFolder(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: pool folder NAME");
  GTreeEntry* root = poolOf(s).tree().root();
  return s.perform(
      FRef<MCommand>(new PCreateFolderCommand(FRef<GTreeEntry>::share(root), freeFolderName(*root, a[0]))));
}

bool moveToTrash(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: pool trash CLIP");
  PAudioClip* clip = clipOf(s, a[0]);
  if (clip == nullptr) return false;
  PAudioPool& pool = poolOf(s);
  if (pool.isInTrash(clip)) return s.fail("\"" + clip->getName() + "\" is in the trash already");
  return s.perform(FRef<MCommand>(new PMoveClipsCommand(FRef<PAudioPool>::share(&pool), {FRef<PAudioClip>::share(clip)},
                                                        FRef<GTreeEntry>::share(pool.trash()), "Move to Trash")));
}

bool emptyTrash(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: pool empty-trash");
  PEmptyTrashPlan plan = planEmptyTrash(s.project(), poolOf(s), {}, s.context().messages);
  if (!plan.command) {
    s.out() << "nothing to empty\n";
    return true;
  }
  if (!s.perform(plan.command)) return false;
  const size_t erased = eraseTrashFiles(plan.filesToErase, s.context().messages);
  s.out() << erased << " of " << plan.filesToErase.size() << " files erased\n";
  return true;
}

bool minimize(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: pool minimize CLIP");
  PAudioClip* clip = clipOf(s, a[0]);
  if (clip == nullptr) return false;
  std::string error;
  FRef<MCommand> command =
      makeMinimizeCommand(s.project(), poolOf(s), {FRef<PAudioClip>::share(clip)}, s.context().messages, &error);
  if (!command) return error.empty() || s.fail(error);
  if (!s.perform(command)) return false;
  // The session saves when it ends; "Save Now" only says so.
  (void)askSaveAfterMinimize(s.context().messages);
  return true;
}

bool prepareArchive(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: pool archive");
  std::string error;
  FRef<MCommand> command = makePrepareArchiveCommand(s.project(), poolOf(s), &error);
  if (!command) {
    if (!error.empty()) return s.fail(error);
    s.out() << "the project is self-contained already\n";
    return true;
  }
  return s.perform(command);
}

bool conformFiles(ShellSession& s, const ShellArgs& a) {
  if (a.size() > 1) return s.fail("usage: pool conform [CLIP]");
  PAudioPool& pool = poolOf(s);
  std::vector<FRef<PAudioClip>> clips = pool.clips();
  if (a.size() == 1) {
    PAudioClip* clip = clipOf(s, a[0]);
    if (clip == nullptr) return false;
    clips = {FRef<PAudioClip>::share(clip)};
  }
  std::string error;
  FRef<MCommand> command = makeConvertFilesCommand(
      s.project(), pool, clips, projectConversion(s.document().devices()->sampleRate(), 0), "Conform Files", &error);
  if (!command) {
    if (!error.empty()) return s.fail(error);
    s.out() << "every file is in the project's format\n";
    return true;
  }
  return s.perform(command);
}

bool savePool(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: pool save FILE");
  std::string error;
  if (!writePoolFile(poolOf(s), a[0], &error)) return s.fail(error);
  return true;
}

bool importPool(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: pool load FILE");
  std::string error;
  FRef<PAudioPool> library = readPoolFile(a[0], &error);
  if (!library) return s.fail(error);
  FRef<MCommand> command = makeImportPoolCommand(poolOf(s), *library, a[0]);
  if (!command) return s.fail("\"" + a[0] + "\" holds no clips");
  return s.perform(command);
}

bool setRecordFolder(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: pool record-folder FOLDER (a path of folder names, / for the top)");
  PAudioPool& pool = poolOf(s);
  GTreeEntry* folder = pool.tree().root()->findFolder(a[0]);
  if (folder == nullptr) return s.fail("the pool has no folder \"" + a[0] + "\"");
  FRef<GTreeEntry> chosen = folder == pool.tree().root() ? nullptr : FRef<GTreeEntry>::share(folder);
  return s.perform(FRef<MCommand>(new PSetRecordFolderCommand(FRef<PAudioPool>::share(&pool), std::move(chosen))));
}

bool removeMissing(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: pool remove-missing");
  FRef<MCommand> command = makeRemoveMissingCommand(s.project(), poolOf(s), s.context().messages);
  if (!command) {
    s.out() << "no clip was removed\n";
    return true;
  }
  return s.perform(command);
}

// "Find Missing Files": a search under FOLDER with the filter rows given.
// Files that stay missing are listed but do not fail the line: what was
// found is one undoable step, kept like any other.
bool resolveFiles(ShellSession& s, const ShellArgs& a) {
  if (a.empty()) return s.fail("usage: pool resolve FOLDER [FILTER=TRANSLATION[:STRIP_TOP[:ASCEND]]...]");
  ResolveRequest request;
  request.folder = a[0];
  for (size_t i = 1; i < a.size(); ++i) {
    PPathFilter filter;
    std::string error;
    if (!parsePathFilter(a[i], &filter, &error)) return s.fail(error);
    request.filters.add(std::move(filter));
  }
  ResolveOutcome outcome;
  if (!resolveMissingFiles(s, request, &outcome)) return false;
  printResolveOutcome(s.out(), outcome);
  return true;
}

// "Locate": one missing file, named by its path or by its clip.
bool locateFile(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: pool locate CLIP|PATH NEWPATH");
  ResolveRequest request;
  request.locates.emplace_back(a[0], a[1]);
  ResolveOutcome outcome;
  if (!resolveMissingFiles(s, request, &outcome)) return false;
  if (!outcome.refused.empty()) return s.fail(outcome.refused.front().reason);
  printResolveOutcome(s.out(), outcome);
  return true;
}

}  // namespace

void addPoolVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"pool", "", "list the audio pool's clips and its information line", listPool});
  verbs.push_back({"pool import", "FILE...", "enter audio files in the pool (\"On Import Audiofile\" decides copying)",
                   importMedium});
  verbs.push_back({"pool extract", "VIDEO...",
                   "\"Extract Audio from Videofile\": a video's first audio stream as a clip (needs ffmpeg)",
                   extractAudio});
  verbs.push_back({"pool insert", "CLIP TRACK [POSITION|origin]",
                   "put a clip on an audio track at a position or at its origin", insertClip});
  verbs.push_back({"pool region", "CLIP NAME START LENGTH", "add a region of frames to a clip", createRegion});
  verbs.push_back({"pool version", "CLIP", "a new version of a clip, sharing its files", newVersion});
  verbs.push_back({"pool remove-unused", "", "remove the clips no event uses", removeUnused});
  verbs.push_back({"pool folder", "NAME", "a new folder in the pool's media tree", createFolder});
  verbs.push_back(
      {"pool record-folder", "FOLDER", "\"Set Pool Record Folder\": where new recordings go", setRecordFolder});
  verbs.push_back(
      {"pool remove-missing", "", "\"Remove Missing Files\": the clips whose files cannot be found", removeMissing});
  verbs.push_back({"pool trash", "CLIP", "move a clip to the pool's trash", moveToTrash});
  verbs.push_back({"pool empty-trash", "", "remove the trashed clips; asks before erasing their files", emptyTrash});
  verbs.push_back({"pool minimize", "CLIP", "reduce a clip's files to what events and regions use", minimize});
  verbs.push_back(
      {"pool archive", "", "\"Prepare Archive\": remove unused media, copy outside files in", prepareArchive});
  verbs.push_back({"pool resolve", "FOLDER [FILTER=TRANSLATION[:STRIP_TOP[:ASCEND]]...]",
                   "\"Find Missing Files\": search a folder for the missing files and relink them", resolveFiles});
  verbs.push_back({"pool locate", "CLIP|PATH NEWPATH", "take NEWPATH for a missing file", locateFile});
  verbs.push_back({"pool conform", "[CLIP]", "convert files to the project's sample rate", conformFiles});
  verbs.push_back({"pool save", "FILE", "write the pool to a pool file (a library)", savePool});
  verbs.push_back(
      {"pool load", "FILE", "\"Import Pool\": enter a pool file's clips in a folder of their own", importPool});
}

}  // namespace vantor::cli

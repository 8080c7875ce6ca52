// The shell verbs of the offline processes: a process over a clip of the
// pool, and the clip's history listed, changed and frozen, each change one
// undoable step (freezing also empties the session's undo history: what it
// replaces cannot be brought back).

#include <ostream>

#include "audio/pool/PAudioPool.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/process/PClipStateCommand.h"
#include "audio/process/PEditHistoryActions.h"
#include "audio/process/PProcessMessages.h"
#include "cli/PoolCommands.h"
#include "cli/ProcessArguments.h"
#include "cli/ShellSession.h"
#include "model/tree/MProject.h"
#include "model/undo/MCommand.h"

namespace vantor::cli {

namespace {

PAudioClip* clipOf(ShellSession& s, const std::string& text) {
  PAudioClip* clip = findPoolClip(PAudioPool::poolOf(s.project()), text);
  if (clip == nullptr) s.fail("the pool has no clip \"" + text + "\"");
  return clip;
}

bool isFrames(const std::string& text) {
  return !text.empty() && text.size() <= 18 && text.find_first_not_of("0123456789") == std::string::npos;
}

// An entry number from 1 as an index; fails the line otherwise.
std::optional<size_t> entryIndex(ShellSession& s, const std::string& text) {
  const std::optional<long> number = s.integer(text, 1, 1000000, "history entry");
  if (!number) return std::nullopt;
  return static_cast<size_t>(*number - 1);
}

// Reads PROCESS [KEY=VALUE ...] from a[from] on; fails the line otherwise.
FRef<PAudioProcess> processOf(ShellSession& s, const ShellArgs& a, size_t from) {
  std::string error;
  FRef<PAudioProcess> process = findProcess(a[from], &error);
  if (process &&
      !applyParameters(*process, ShellArgs(a.begin() + static_cast<std::ptrdiff_t>(from) + 1, a.end()), &error)) {
    process = nullptr;
  }
  if (!process) s.fail(error);
  return process;
}

bool listHistory(ShellSession& s, const PAudioClip& clip) {
  s.out() << PEditHistory::title(clip.getName()) << "\n";
  const PEditHistory* history = editHistoryOf(clip);
  for (size_t i = 0; history != nullptr && i < history->size(); ++i) {
    const PEditHistoryEntry& entry = history->entries()[i];
    s.out() << "  " << (i + 1) << "  " << PEditHistory::actionName(entry) << "  frames " << entry.start << " to "
            << entry.start + entry.length << "\n";
  }
  return true;
}

// process CLIP PROCESS [FROM TO] [KEY=VALUE ...]
bool processClip(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 2) return s.fail("usage: process CLIP PROCESS [FROM TO] [KEY=VALUE ...]");
  PAudioClip* clip = clipOf(s, a[0]);
  if (clip == nullptr) return false;
  int64_t from = 0;
  int64_t to = clip->lengthFrames();
  ShellArgs rest(a.begin() + 1, a.end());
  if (rest.size() >= 3 && isFrames(rest[1]) && isFrames(rest[2])) {
    from = std::stoll(rest[1]);
    to = std::stoll(rest[2]);
    rest.erase(rest.begin() + 1, rest.begin() + 3);
  }
  if (to <= from || to > clip->lengthFrames()) {
    return s.fail("the range " + std::to_string(from) + " to " + std::to_string(to) + " does not lie inside \"" +
                  clip->getName() + "\" (0 to " + std::to_string(clip->lengthFrames()) + " frames)");
  }
  FRef<PAudioProcess> process = processOf(s, rest, 0);
  if (!process) return false;
  if (!process->changesAudio())
    return s.fail(process->displayName() + " changes no audio: run it with `vantor process`");
  // The new version and the process are one action: a process that fails
  // leaves no version behind.
  auto action = makeRef<MMacroCommand>(kAudioProcessAction);
  if (wantsNewFile(s.context().messages, false, false)) {
    FRef<MCommand> version = makeNewVersionCommand(*PAudioPool::poolOf(s.project()), *clip);
    clip = static_cast<PAddClipsCommand&>(*version).clips().front().get();
    (void)action->add(version);
  }
  auto command = makeRef<PAudioProcessCommand>(FRef<PAudioClip>::share(clip), process, from, to - from,
                                               resultFolder(s.document()), &s.context().messages);
  command->setProgress(terminalProgress(s.context()));
  (void)action->add(command);
  if (!s.perform(action)) return false;
  s.out() << process->displayName() << " on \"" << clip->getName() << "\", frames " << from << " to " << to << ": "
          << clip->getCluster()->files().back().path << "\n";
  return true;
}

bool showHistory(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: edits CLIP");
  PAudioClip* clip = clipOf(s, a[0]);
  return clip != nullptr && listHistory(s, *clip);
}

// Performs a prepared history change; nullptr means refused or declined
// (the reason or the question was shown).
bool performChange(ShellSession& s, PAudioClip& clip, FRef<MCommand> command) {
  if (!command) return false;
  return s.perform(command) && listHistory(s, clip);
}

bool removeEntry(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 2) return s.fail("usage: edits remove CLIP N");
  PAudioClip* clip = clipOf(s, a[0]);
  const std::optional<size_t> index = clip != nullptr ? entryIndex(s, a[1]) : std::nullopt;
  if (!index) return false;
  return performChange(
      s, *clip, prepareRemove(FRef<PAudioClip>::share(clip), *index, resultFolder(s.document()), s.context().messages));
}

bool modifyEntry(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 2) return s.fail("usage: edits modify CLIP N [KEY=VALUE ...]");
  PAudioClip* clip = clipOf(s, a[0]);
  const std::optional<size_t> index = clip != nullptr ? entryIndex(s, a[1]) : std::nullopt;
  if (!index) return false;
  FRef<PAudioProcess> process = entryProcess(*clip, *index);
  std::string error;
  if (process && !applyParameters(*process, ShellArgs(a.begin() + 2, a.end()), &error)) return s.fail(error);
  return performChange(
      s, *clip,
      prepareModify(FRef<PAudioClip>::share(clip), *index, process, resultFolder(s.document()), s.context().messages));
}

bool replaceEntry(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 3) return s.fail("usage: edits replace CLIP N PROCESS [KEY=VALUE ...]");
  PAudioClip* clip = clipOf(s, a[0]);
  const std::optional<size_t> index = clip != nullptr ? entryIndex(s, a[1]) : std::nullopt;
  if (!index) return false;
  FRef<PAudioProcess> process = processOf(s, a, 2);
  if (!process) return false;
  return performChange(
      s, *clip,
      prepareReplace(FRef<PAudioClip>::share(clip), *index, process, resultFolder(s.document()), s.context().messages));
}

bool freezeClip(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: edits freeze CLIP");
  PAudioClip* clip = clipOf(s, a[0]);
  if (clip == nullptr) return false;
  if (!performChange(s, *clip,
                     prepareFreeze(FRef<PAudioClip>::share(clip), resultFolder(s.document()), s.context().messages))) {
    return false;
  }
  s.history().clear();
  return true;
}

}  // namespace

void addProcessVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"process", "CLIP PROCESS [FROM TO] [KEY=VALUE ...]",
                   "run an offline process over frames of a pool clip (a new file; undoable)", processClip});
  verbs.push_back({"edits", "CLIP", "the clip's offline process history", showHistory});
  verbs.push_back({"edits remove", "CLIP N", "remove entry N, running the later ones again", removeEntry});
  verbs.push_back({"edits modify", "CLIP N [KEY=VALUE ...]", "run entry N again with other parameters", modifyEntry});
  verbs.push_back(
      {"edits replace", "CLIP N PROCESS [KEY=VALUE ...]", "replace entry N by another process", replaceEntry});
  verbs.push_back(
      {"edits freeze", "CLIP", "render the clip into one file and clear its history (no undo)", freezeClip});
}

}  // namespace vantor::cli

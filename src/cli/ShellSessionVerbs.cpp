// Shell verbs on the session: help, undo, redo, history, save, quit.

#include <filesystem>
#include <ostream>

#include "cli/ShellSession.h"
#include "document/PDocument.h"

namespace vantor::cli {

namespace {

bool help(ShellSession& s, const ShellArgs& a) {
  const std::string wanted = a.empty() ? "" : (a.size() > 1 ? a[0] + " " + a[1] : a[0]);
  bool shown = false;
  for (const ShellVerb& verb : s.verbs()) {
    if (!wanted.empty() && verb.name != wanted && verb.name.rfind(wanted + " ", 0) != 0) continue;
    s.out() << "  " << verb.name << (verb.usage.empty() ? "" : " " + verb.usage) << "\n      " << verb.summary << '\n';
    shown = true;
  }
  if (!shown) return s.fail("no command \"" + wanted + "\"");
  if (wanted.empty()) {
    s.out() << "References: TRACK is a number from `tracks` or a name; PART is TRACK:N; an event inside a\n"
               "part is TRACK:N:M. Positions: pulses (1920), bars (5.1.1.0), seconds (3.5s), minutes\n"
               "(1:02.250). Quote words with blanks: rename 1:1 \"Verse 2\".\n";
  }
  return true;
}

ShellHandler stepVerb(bool isUndo) {
  return [isUndo](ShellSession& s, const ShellArgs& a) {
    if (a.size() > 1) return s.fail(std::string("usage: ") + (isUndo ? "undo" : "redo") + " [COUNT]");
    long count = 1;
    if (!a.empty()) {
      auto n = s.integer(a[0], 1, 1000000, "count");
      if (!n) return false;
      count = *n;
    }
    GUndoManager& h = s.history();
    if (isUndo ? !h.canUndo() : !h.canRedo()) return s.fail(isUndo ? "nothing to undo" : "nothing to redo");
    for (long i = 0; i < count && (isUndo ? h.canUndo() : h.canRedo()); ++i) {
      const std::string text = isUndo ? h.undoText() : h.redoText();
      // The history takes the root's write lock around each step.
      if (!(isUndo ? h.undo() : h.redo())) return s.fail(text + " failed");
      s.out() << text << '\n';
      s.noteChange();
    }
    return true;
  };
}

bool history(ShellSession& s, const ShellArgs&) {
  s.out() << "undo (newest first):\n";
  for (const auto& action : s.history().undoStack()) s.out() << "  " << action->getActionDescription() << '\n';
  s.out() << "redo (newest first):\n";
  for (const auto& action : s.history().redoStack()) s.out() << "  " << action->getActionDescription() << '\n';
  return true;
}

bool refuseInEdit(ShellSession& s, const char* verb) {
  return s.fail(std::string(verb) + " is not used with edit, which saves the project when every line worked");
}

bool save(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: save");
  if (s.savesItself()) return refuseInEdit(s, "save");
  if (s.document().path().empty()) return s.fail("the project has no file yet: use save as PATH");
  if (!s.document().save()) return s.fail("the project was not saved");
  s.out() << "saved " << s.document().path() << '\n';
  return true;
}

// Saving over another file that exists destroys it: no undo brings it back.
bool confirmReplacing(ShellSession& s, const std::string& path) {
  std::error_code ec;
  const std::filesystem::path target = std::filesystem::weakly_canonical(path, ec);
  if (ec || !std::filesystem::is_regular_file(target, ec)) return true;
  if (!s.document().path().empty() &&
      std::filesystem::equivalent(target, std::filesystem::path(s.document().path()), ec)) {
    return true;
  }
  return s.confirmIrreversible("The file \"" + path + "\" exists and will be replaced.\n" +
                               std::string(kCannotUndoQuestion));
}

bool saveAs(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: save as PATH");
  if (s.savesItself()) return refuseInEdit(s, "save as");
  if (!confirmReplacing(s, a[0])) return false;
  if (!s.document().save(a[0])) return s.fail("the project was not saved");
  s.out() << "saved " << s.document().path() << '\n';
  return true;
}

bool saveBackup(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: save backup");
  if (!s.document().saveBackup()) return s.fail("no backup was written");
  s.out() << "saved backup " << PDocument::backupPathFor(s.document().path()) << '\n';
  return true;
}

bool quit(ShellSession& s, const ShellArgs&) {
  s.requestQuit();
  return true;
}

}  // namespace

void addSessionVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"help", "[COMMAND]", "show the commands, or one of them", help});
  verbs.push_back({"undo", "[COUNT]", "undo the last edit (or COUNT edits)", stepVerb(true)});
  verbs.push_back({"redo", "[COUNT]", "redo the last undone edit (or COUNT)", stepVerb(false)});
  verbs.push_back({"history", "", "show the undo and redo lists", history});
  verbs.push_back({"save as", "PATH", "save the project to another file, which becomes its file", saveAs});
  verbs.push_back(
      {"save backup", "", "write a backup beside the project file (FILE.bak); the project stays as it is", saveBackup});
  verbs.push_back({"save", "", "save the project to its file", save});
  verbs.push_back({"quit", "", "end the session (unsaved edits are lost)", quit});
  verbs.push_back({"exit", "", "end the session (unsaved edits are lost)", quit});
}

}  // namespace vantor::cli

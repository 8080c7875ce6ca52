#pragma once
// An interactive session on one project: one command per line, every edit a
// command with undo and redo. The same lines serve people at a terminal and
// scripts on standard input (`vantor shell`), and `vantor edit -e LINE`.
//
// The command language (also printed by `help`):
//   References  TRACK  a track number as `tracks` lists it (1, 2, ...) or a
//                      track name;  PART  TRACK:N, the N-th part of a track
//                      in start order;  EVENT  TRACK:N:M, the M-th event
//                      inside that part; an event reference is a PART or an
//                      EVENT. Markers are named by their ID.
//   Positions   pulses (1920), bars (5.1.1.0), seconds (3.5s), minutes
//               (1:02.250); lengths and deltas are pulses, or a position
//               form whose distance from 1.1.1.0 / 0s is taken; a delta
//               takes a leading '-' to move earlier. The ranges are the
//               model's (MTimeRange).
// A line that fails prints one error and changes nothing.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/CliContext.h"
#include "foundation/FClock.h"
#include "foundation/FRef.h"
#include "model/undo/GUndoManager.h"

namespace vantor {
class MCommand;
class MEvent;
class MProject;
class MTrackEvent;
class MPartEvent;
class MPosition;
class MQuantizePresetValue;
class MTransport;
class PDocument;
}  // namespace vantor

namespace vantor::cli {

class ShellSession;
using ShellArgs = std::vector<std::string>;
using ShellHandler = std::function<bool(ShellSession&, const ShellArgs&)>;

struct ShellVerb {
  std::string name;   // one or two words: "undo", "track add"
  std::string usage;  // arguments after the name
  std::string summary;
  ShellHandler run;
};

class ShellSession {
 public:
  ShellSession(CliContext& context, PDocument& document, const FClock& clock);
  ~ShellSession();

  // Runs one line; empty lines and lines starting with '#' do nothing.
  // False when the line failed: its error was printed and nothing changed.
  // After each line the automatic savers get their chance (idle()).
  bool execute(std::string_view line);
  // Runs the automatic savers ("AutoSavers") with the session's clock: the
  // document writes its automatic save when "Auto Save" is on and "Auto
  // Save Interval" minutes have passed with changes.
  void idle();
  // `vantor edit` saves by itself when every line worked; its lines may not
  // save on their own (a later failing line could not take that back).
  void setSavesItself(bool savesItself) { savesItself_ = savesItself; }
  bool savesItself() const { return savesItself_; }
  bool wantsQuit() const { return quit_; }
  // True once a line changed the project since it was opened or saved.
  bool hasUnsavedChanges() const;

  // ---- for the verb handlers ----
  // Prints an error for the current line and returns false.
  bool fail(const std::string& message);
  std::ostream& out() { return context_.out; }
  CliContext& context() { return context_; }
  PDocument& document() { return document_; }
  MProject& project();
  MTransport& transport();
  GUndoManager& history() { return history_; }
  // Performs command through the undo history under the tree's write lock;
  // description empty takes the command's. Fails with a message when the
  // command could not be performed.
  bool perform(FRef<MCommand> command, const std::string& description = {});
  void noteChange();
  // Before an operation that cannot be undone: asks the user (text, then
  // "Yes" or "No"). On a terminal that is a question; in a script the
  // answer is "No" unless --yes was given. False (with an error) when the
  // operation may not run.
  bool confirmIrreversible(const std::string& text);
  void requestQuit() { quit_ = true; }
  const std::vector<ShellVerb>& verbs() const { return verbs_; }

  // Argument readers: each reports its own error and returns nullopt.
  std::optional<double> position(const std::string& text);
  std::optional<double> length(const std::string& text);
  MTrackEvent* track(const std::string& text);
  // An event reference: TRACK:PART or TRACK:PART:EVENT, each by its number
  // from 1 or by its name ("Piano:Verse"). origin, when given, receives where the positions of
  // the event count from on the project's time line: 0 for a part, the
  // part's content origin for an event inside a part.
  MEvent* event(const std::string& text, double* origin = nullptr);
  std::optional<bool> onOff(const ShellArgs& args, size_t index, bool byDefault);
  std::optional<long> integer(const std::string& text, long min, long max, const char* what);
  const MPosition& positions();
  // The session's current quantize, from the "Quantize" and "Auto
  // Quantize" preferences at first use; never written back to them.
  MQuantizePresetValue& currentQuantize();

 private:
  void addVerbs();
  MEvent* inside(const MEvent* holder, const std::string& word, const std::string& text);
  const ShellVerb* match(const ShellArgs& words, size_t* used) const;

  CliContext& context_;
  PDocument& document_;
  const FClock& clock_;
  GUndoManager history_;
  std::vector<ShellVerb> verbs_;
  std::unique_ptr<MPosition> positions_;
  std::unique_ptr<MQuantizePresetValue> quantize_;
  bool quit_ = false;
  bool changed_ = false;
  bool savesItself_ = false;
};

// Splits a line into words: blanks separate, "double" or 'single' quotes
// keep blanks, a backslash escapes the next character. False (with an error
// text) for an unterminated quote.
bool splitShellLine(std::string_view line, ShellArgs* words, std::string* error);

// A colour as a number or #RRGGBB; reports its own error.
std::optional<int32_t> parseColour(ShellSession& session, const std::string& text);

// The virtual group placements of the project, as `groups` numbers them.
std::vector<MEvent*> listGroups(MProject& project);

// The verb families, each in its own file.
void addListingVerbs(std::vector<ShellVerb>& verbs);
void addTrackVerbs(std::vector<ShellVerb>& verbs);
void addEventVerbs(std::vector<ShellVerb>& verbs);
void addTimeVerbs(std::vector<ShellVerb>& verbs);
void addMarkerVerbs(std::vector<ShellVerb>& verbs);
void addSessionVerbs(std::vector<ShellVerb>& verbs);
void addQuantizeVerbs(std::vector<ShellVerb>& verbs);
void addCurrentQuantizeVerbs(std::vector<ShellVerb>& verbs);
void addMidiExportVerbs(std::vector<ShellVerb>& verbs);
void addMidiImportVerbs(std::vector<ShellVerb>& verbs);
void addPoolVerbs(std::vector<ShellVerb>& verbs);
void addProcessVerbs(std::vector<ShellVerb>& verbs);
void addFadeVerbs(std::vector<ShellVerb>& verbs);

}  // namespace vantor::cli

#include "cli/ShellSession.h"

#include <charconv>
#include <ostream>

#include "document/FAutoSaver.h"
#include "document/PArrangement.h"
#include "document/PDocument.h"
#include "document/PMidiPreferences.h"
#include "model/markers/MTransport.h"
#include "model/time/MPosition.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MName.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"
#include "model/undo/MCommand.h"

namespace vantor::cli {

bool splitShellLine(std::string_view line, ShellArgs* words, std::string* error) {
  words->clear();
  std::string current;
  bool inWord = false;
  char quote = 0;
  for (size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '\\' && i + 1 < line.size()) {
      current.push_back(line[++i]);
      inWord = true;
    } else if (quote != 0) {
      if (c == quote) {
        quote = 0;
      } else {
        current.push_back(c);
      }
    } else if (c == '"' || c == '\'') {
      quote = c;
      inWord = true;
    } else if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      if (inWord) words->push_back(std::move(current));
      current.clear();
      inWord = false;
    } else {
      current.push_back(c);
      inWord = true;
    }
  }
  if (quote != 0) {
    *error = "unterminated quote";
    return false;
  }
  if (inWord) words->push_back(std::move(current));
  return true;
}

ShellSession::ShellSession(CliContext& context, PDocument& document, const FClock& clock)
    : context_(context), document_(document), clock_(clock), history_(clock) {
  addVerbs();
}

ShellSession::~ShellSession() = default;

void ShellSession::addVerbs() {
  addSessionVerbs(verbs_);
  addListingVerbs(verbs_);
  addTrackVerbs(verbs_);
  addEventVerbs(verbs_);
  addQuantizeVerbs(verbs_);
  addCurrentQuantizeVerbs(verbs_);
  addMidiExportVerbs(verbs_);
  addTimeVerbs(verbs_);
  addMarkerVerbs(verbs_);
  addMidiImportVerbs(verbs_);
  addPoolVerbs(verbs_);
  addProcessVerbs(verbs_);
  addFadeVerbs(verbs_);
}

MProject& ShellSession::project() { return *document_.project(); }

MQuantizePresetValue& ShellSession::currentQuantize() {
  if (!quantize_) quantize_ = std::make_unique<MQuantizePresetValue>(initialQuantize(context_.preferences));
  return *quantize_;
}

MTransport& ShellSession::transport() { return *document_.arrangement()->getTransport(); }

const MPosition& ShellSession::positions() {
  // The tracks are fixed for the life of the project, so one reader serves.
  if (!positions_) {
    positions_ = std::make_unique<MPosition>(*project().getSignatureNode(), *project().getTempoNode());
  }
  return *positions_;
}

const ShellVerb* ShellSession::match(const ShellArgs& words, size_t* used) const {
  // Two-word verbs first, so "track add" wins over a one-word "track".
  if (words.size() >= 2) {
    const std::string two = words[0] + " " + words[1];
    for (const ShellVerb& verb : verbs_) {
      if (verb.name == two) {
        *used = 2;
        return &verb;
      }
    }
  }
  for (const ShellVerb& verb : verbs_) {
    if (verb.name == words[0]) {
      *used = 1;
      return &verb;
    }
  }
  return nullptr;
}

bool ShellSession::execute(std::string_view line) {
  ShellArgs words;
  std::string error;
  if (!splitShellLine(line, &words, &error)) return fail(error);
  if (words.empty() || (!words[0].empty() && words[0].front() == '#')) return true;
  // Names are checked by the model's rule before any verb sees them; the
  // rule suits every other word as well (positions and numbers are short
  // ASCII).
  for (const std::string& word : words) {
    if (!isValidName(word, &error)) return fail(error);
  }
  size_t used = 0;
  const ShellVerb* verb = match(words, &used);
  if (verb == nullptr) return fail("unknown command \"" + words[0] + "\" (type help for the list)");
  const ShellArgs args(words.begin() + static_cast<long>(used), words.end());
  const bool ok = verb->run(*this, args);
  idle();
  return ok;
}

void ShellSession::idle() { (void)FAutoSavers::instance().runDue(clock_); }

bool ShellSession::confirmIrreversible(const std::string& text) {
  if (vantor::confirmIrreversible(context_.messages, text)) return true;
  return fail(context_.messages.assumesYes() ? "not done" : "not done (a script allows it with --yes)");
}

bool ShellSession::fail(const std::string& message) {
  context_.messages.report(FUserMessages::Severity::kError, "error: " + message);
  return false;
}

bool ShellSession::perform(FRef<MCommand> command, const std::string& description) {
  // The history takes the root's write lock around the edit.
  MRoot* root = document_.arrangement()->getRoot();
  const FRef<MCommand> kept = command;
  if (!history_.perform(std::move(command), root, description)) {
    // The command's own reason where it gave one ("part \"Intro\" is locked").
    if (kept && !kept->failure().empty()) return fail(kept->failure());
    return fail("the edit could not be made (locked, read-only or out of range)");
  }
  noteChange();
  return true;
}

void ShellSession::noteChange() {
  changed_ = true;
  document_.markModified();
}

bool ShellSession::hasUnsavedChanges() const { return changed_ && document_.isModified(); }

std::optional<double> ShellSession::position(const std::string& text) {
  std::string error;
  std::optional<double> pulses = positions().parse(text, &error);
  if (!pulses) fail(error);
  return pulses;
}

std::optional<double> ShellSession::length(const std::string& text) {
  // A length in a position form is its distance from the start of the song.
  return position(text);
}

std::optional<long> ShellSession::integer(const std::string& text, long min, long max, const char* what) {
  long value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || value < min || value > max) {
    fail(std::string("bad ") + what + " \"" + text + "\" (expected " + std::to_string(min) + " to " +
         std::to_string(max) + ")");
    return std::nullopt;
  }
  return value;
}

std::optional<bool> ShellSession::onOff(const ShellArgs& args, size_t index, bool byDefault) {
  if (index >= args.size()) return byDefault;
  const std::string& word = args[index];
  if (word == "on" || word == "yes" || word == "1") return true;
  if (word == "off" || word == "no" || word == "0") return false;
  fail("expected on or off, not \"" + word + "\"");
  return std::nullopt;
}

}  // namespace vantor::cli

#include "cli/MidiImportCommand.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <ostream>
#include <vector>

#include "cli/ShellQuantize.h"
#include "cli/ShellSession.h"
#include "document/PDocument.h"
#include "document/PMidiPreferences.h"
#include "midi/quantize/MQuantizePresetValue.h"
#include "midi/smf/MSmfImportCommand.h"
#include "model/tree/MProject.h"

namespace vantor::cli {

namespace {

// Files from this size on show progress on a terminal.
constexpr off_t kProgressBytes = 1 << 20;

// The whole file into *bytes; false with the system's reason.
bool readWholeFile(const std::string& path, std::vector<uint8_t>* bytes, std::string* reason) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    *reason = std::strerror(errno);
    return false;
  }
  struct stat info {};
  bool ok = ::fstat(fd, &info) == 0;
  if (ok && S_ISDIR(info.st_mode)) {
    *reason = std::strerror(EISDIR);
    ok = false;
  } else if (ok && !S_ISREG(info.st_mode)) {
    *reason = "it is not a regular file";
    ok = false;
  } else if (!ok) {
    *reason = std::strerror(errno);
  }
  if (ok) bytes->resize(static_cast<size_t>(info.st_size));
  size_t done = 0;
  while (ok && done < bytes->size()) {
    const ssize_t got = ::read(fd, bytes->data() + done, bytes->size() - done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      *reason = got < 0 ? std::strerror(errno) : "it became shorter while it was read";
      ok = false;
      break;
    }
    done += static_cast<size_t>(got);
  }
  ::close(fd);
  return ok;
}

void progress(ShellSession& session, bool show, const char* text) {
  if (show) session.context().err << text << "\n" << std::flush;
}

}  // namespace

bool runMidiImport(ShellSession& session, const std::string& path, double position, MidiImportSummary* summary) {
  std::vector<uint8_t> bytes;
  std::string reason;
  if (!readWholeFile(path, &bytes, &reason)) return session.fail(importMidiFailure(path, reason));
  const bool show = stderrIsTerminal() && static_cast<off_t>(bytes.size()) >= kProgressBytes;
  progress(session, show, "Reading MIDI file...");
  MProject& project = session.project();
  MSmfImporter importer(position, project.getTempoNode());
  if (!importer.importBytes(bytes.data(), bytes.size(), &reason)) return session.fail(importMidiFailure(path, reason));
  bytes = {};
  MSmfImport import = importer.takeResult();
  *summary = {};
  summary->tracks = import.tracks.size();
  summary->counts = import.counts;
  summary->tempos = import.tempos.size();
  summary->signatures = import.signatures.size();
  const PPreferences& preferences = session.context().preferences;
  // "Auto Quantize" is the session's switch, with its current quantize.
  MQuantizeSettings settings = quantizeSettings(preferences);
  settings.autoQuantize = session.currentQuantize().autoQuantize();
  progress(session, show, "Adding the tracks...");
  FRef<MCommand> command = makeImportMidiCommand(project, import, position, currentGrid(session), settings);
  return session.perform(command);
}

std::string describeMidiImport(const MidiImportSummary& summary, const std::string& path) {
  const MSmfImportCounts& c = summary.counts;
  const size_t events =
      c.notes + c.polyPressures + c.controllers + c.programChanges + c.afterTouches + c.pitchBends + c.sysex + c.meta;
  auto count = [](size_t n, const char* one, const char* many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
  };
  return "Imported " + count(summary.tracks, "track", "tracks") + " (" + count(events, "event", "events") + "), " +
         count(summary.tempos, "tempo change", "tempo changes") + ", " +
         count(summary.signatures, "signature", "signatures") + " from \"" + path + "\"";
}

namespace {

struct Options {
  std::string project;
  std::string midi;
  std::string at;
  bool json = false;
};

nlohmann::json summaryJson(const MidiImportSummary& summary) {
  const MSmfImportCounts& c = summary.counts;
  return {{"tracks", summary.tracks},
          {"parts", summary.tracks},
          {"events",
           {{"notes", c.notes},
            {"polyPressure", c.polyPressures},
            {"controllers", c.controllers},
            {"programChanges", c.programChanges},
            {"aftertouch", c.afterTouches},
            {"pitchBends", c.pitchBends},
            {"sysex", c.sysex},
            {"meta", c.meta},
            {"dropped", c.dropped}}},
          {"tempoChanges", summary.tempos},
          {"signatures", summary.signatures}};
}

int runImportCommand(CliContext& context, const Options& options) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.project, OpenPurpose::kEdit)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  session.setSavesItself(true);
  double position = 0;
  if (!options.at.empty()) {
    const auto at = session.position(options.at);
    if (!at) return kExitUsage;
    position = *at;
  }
  MidiImportSummary summary;
  if (!runMidiImport(session, options.midi, position, &summary)) {
    context.messages.report(FUserMessages::Severity::kError, "the project was not saved");
    return kExitDataError;
  }
  if (stderrIsTerminal() && summary.counts.notes >= 100000) context.err << "Saving...\n" << std::flush;
  if (!document.save()) return kExitDataError;
  if (options.json) {
    printJson(context.out, summaryJson(summary));
  } else {
    context.out << describeMidiImport(summary, options.midi) << "\n";
  }
  return kExitOk;
}

}  // namespace

void addMidiImportCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command =
      app.add_subcommand("import-midi", "Import a Standard MIDI File into a project as one undoable action, and save");
  auto options = std::make_shared<Options>();
  command->add_option("FILE", options->project, "Project file (.vpr)")->required();
  command->add_option("MIDI", options->midi, "MIDI file (a Standard MIDI File, .mid) to import")->required();
  command->add_option("--at", options->at,
                      "Where the file starts: pulses, bars (5.1.1.0), seconds (3.5s) or minutes (1:02.250); "
                      "default the start of the song");
  command->add_flag("--json", options->json, "Print the summary as JSON");
  command->callback([&context, exitCode, options] { *exitCode = runImportCommand(context, *options); });
}

}  // namespace vantor::cli

#include "cli/MidiExportCommand.h"

#include <filesystem>
#include <memory>
#include <ostream>

#include "document/PDocument.h"
#include "document/PSafeFile.h"
#include "model/tree/MProject.h"

namespace vantor::cli {

namespace {

struct Options {
  std::string project;
  std::string out;
  int type = 1;
  bool includeMuted = false;
  bool json = false;
};

bool sameFile(const std::string& a, const std::string& b) {
  std::error_code ec;
  return !a.empty() && !b.empty() && std::filesystem::equivalent(a, b, ec);
}

int runMidiExport(CliContext& context, const Options& options) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.project, OpenPurpose::kRead)) return kExitDataError;
  MSmfExportSummary summary;
  std::string message;
  if (!exportMidiFile(*document.project(), options.project, options.out, {options.type, options.includeMuted}, &summary,
                      &message)) {
    context.messages.report(FUserMessages::Severity::kError, message);
    return kExitDataError;
  }
  if (options.json) {
    printJson(context.out,
              {{"file", options.out}, {"type", options.type}, {"tracks", summary.tracks}, {"events", summary.events}});
  } else {
    printMidiExportSummary(context.out, options.out, options.type, summary);
  }
  return kExitOk;
}

}  // namespace

bool exportMidiFile(const MProject& project, const std::string& projectPath, const std::string& path,
                    const MSmfExportOptions& options, MSmfExportSummary* summary, std::string* message) {
  const auto fail = [&](const std::string& reason) {
    *message = "Can not write MIDI file \"" + path + "\" !\n" + reason;
    return false;
  };
  if (sameFile(path, projectPath)) return fail("It is the project file itself.");
  // Through a link the linked file is replaced and the link kept, as a
  // project save does.
  const std::string target = PSafeFile::resolveLink(path);
  MSmfExporter exporter(project, options);
  std::string refusal;
  std::string error;
  const bool written = PSafeFile::write(
      target, [&](FStream& stream) { return exporter.write(stream, &refusal); }, &error);
  // The exporter names what the project holds that a file cannot; the
  // safe write names what the system refused.
  if (!written) return fail(refusal.empty() ? error : refusal);
  *summary = exporter.summary();
  return true;
}

void printMidiExportSummary(std::ostream& out, const std::string& path, int type, const MSmfExportSummary& summary) {
  out << "Type " << type << " MIDI file \"" << path << "\": " << summary.tracks
      << (summary.tracks == 1 ? " track, " : " tracks, ") << summary.events
      << (summary.events == 1 ? " event\n" : " events\n");
}

void addMidiExportCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("export-midi", "Write a project as a Standard MIDI File");
  auto options = std::make_shared<Options>();
  command->add_option("FILE", options->project, "Project file (.vpr)")->required();
  command->add_option("OUT", options->out, "MIDI file to write (.mid); a file already there is replaced")->required();
  command
      ->add_option("--type", options->type,
                   "1 (default): a tempo track, then one track per MIDI track; 0: everything in one track")
      ->check(CLI::IsMember({0, 1}));
  command->add_flag("--include-muted", options->includeMuted, "Also write muted tracks, parts and events");
  command->add_flag("--json", options->json, "Print the summary as JSON");
  command->callback([&context, exitCode, options] { *exitCode = runMidiExport(context, *options); });
}

}  // namespace vantor::cli

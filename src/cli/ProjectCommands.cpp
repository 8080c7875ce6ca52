#include "cli/ProjectCommands.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <ostream>

#include "cli/ProjectInfo.h"
#include "cli/ShellReferences.h"
#include "document/PDocument.h"
#include "model/time/MPosition.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoEvent.h"
#include "model/time/MTempoTrack.h"
#include "model/time/MTimeRange.h"
#include "model/time/MTimeSignatureEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"

namespace vantor::cli {

namespace {

using nlohmann::json;

bool refuseExisting(CliContext& context, const std::string& path, bool force) {
  std::error_code ec;
  if (force || !std::filesystem::exists(path, ec)) return false;
  context.messages.report(FUserMessages::Severity::kError,
                          "\"" + path + "\" already exists (use --force to replace it)");
  return true;
}

int runNew(CliContext& context, const std::string& path, const std::string& tempoText, const std::string& signature,
           bool force) {
  if (refuseExisting(context, path, force)) return kExitDataError;
  uint16_t numerator = 4;
  uint16_t denominator = 4;
  std::string error;
  if (!MTimeRange::parseSignature(signature, &numerator, &denominator, &error)) {
    context.messages.report(FUserMessages::Severity::kError, error);
    return kExitUsage;
  }
  // The shell's tempo rule and message (MTimeRange).
  double bpm = 0;
  if (!MTimeRange::parseTempo(tempoText, &bpm, &error)) {
    context.messages.report(FUserMessages::Severity::kError, error);
    return kExitUsage;
  }
  PDocument document(context.messages, context.preferences);
  MProject& project = *document.project();
  MTempoTrackNode& tempo = *project.getTempoNode();
  tempo.tempoEvent(0)->setBPM(bpm);
  tempo.tempoChanged();
  project.getSignatureNode()->signature(0)->setSignature(numerator, denominator);
  return document.save(path) ? kExitOk : kExitDataError;
}

int runInfo(CliContext& context, const std::string& path, bool asJson) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, path, OpenPurpose::kRead)) return kExitDataError;
  if (asJson) {
    writeProjectJson(context.out, document);
  } else {
    printProject(context.out, document);
  }
  return kExitOk;
}

int runTime(CliContext& context, const std::string& path, const std::string& text, bool asJson) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, path, OpenPurpose::kRead)) return kExitDataError;
  MProject& project = *document.project();
  const MPosition positions(*project.getSignatureNode(), *project.getTempoNode());
  std::string error;
  const std::optional<double> pulses = positions.parse(text, &error);
  if (!pulses) {
    // A position that cannot be read is a malformed argument like any other.
    context.messages.report(FUserMessages::Severity::kError, error);
    return kExitUsage;
  }
  const double seconds = project.getTempoNode()->secondsAt(*pulses);
  const std::string bars = positions.formatBars(*pulses).value_or("");
  const std::string time = positions.formatTime(*pulses).value_or("");
  if (asJson) {
    printJson(context.out, json{{"pulses", *pulses}, {"bars", bars}, {"seconds", seconds}, {"time", time}});
  } else {
    // Whole pulses (as bar text counts them) and seconds in fixed decimals:
    // never an exponent.
    char secondsText[64];
    std::snprintf(secondsText, sizeof secondsText, "%.6f", seconds);
    context.out << "pulses  " << positions.formatPulses(*pulses).value_or("") << "\nbars    " << bars << "\nseconds "
                << secondsText << "\ntime    " << time << '\n';
  }
  return kExitOk;
}

}  // namespace

void addProjectCommands(CLI::App& app, CliContext& context, int* exitCode) {
  auto* create = app.add_subcommand("new", "Create a new, empty project file");
  auto newPath = std::make_shared<std::string>();
  auto bpm = std::make_shared<std::string>("120");
  auto signature = std::make_shared<std::string>("4/4");
  auto force = std::make_shared<bool>(false);
  create->add_option("FILE", *newPath, "Project file to create (.vpr)")->required();
  create->add_option("--tempo", *bpm, "Tempo in BPM (default 120)");
  create->add_option("--signature", *signature, "Time signature N/D (default 4/4)");
  create->add_flag("--force", *force, "Replace an existing file");
  create->callback([&context, exitCode, newPath, bpm, signature, force] {
    *exitCode = runNew(context, *newPath, *bpm, *signature, *force);
  });

  auto* info = app.add_subcommand("info", "Describe a project: version, tempo, signatures, tracks, markers, pool");
  auto infoPath = std::make_shared<std::string>();
  auto infoJson = std::make_shared<bool>(false);
  info->add_option("FILE", *infoPath, "Project file (.vpr)")->required();
  info->add_flag("--json", *infoJson, "Print one JSON object");
  info->callback([&context, exitCode, infoPath, infoJson] { *exitCode = runInfo(context, *infoPath, *infoJson); });

  auto* time = app.add_subcommand("time", "Show a position as pulses, bars and seconds");
  auto timePath = std::make_shared<std::string>();
  auto position = std::make_shared<std::string>();
  auto timeJson = std::make_shared<bool>(false);
  time->add_option("FILE", *timePath, "Project file (.vpr)")->required();
  time->add_option("POSITION", *position, "1920, 5.1.1.0, 3.5s or 1:02.250")->required();
  time->add_flag("--json", *timeJson, "Print one JSON object");
  time->callback([&context, exitCode, timePath, position, timeJson] {
    *exitCode = runTime(context, *timePath, *position, *timeJson);
  });
}

}  // namespace vantor::cli

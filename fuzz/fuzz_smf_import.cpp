// Feeds arbitrary bytes to "Import MIDI" into a fresh project: the import
// either fails with a reason or builds tracks whose parts hold their events
// in order with lengths of at least 0; performing and undoing the import
// gives the project's exact bytes back.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"
#include "midi/MMidiInit.h"
#include "midi/quantize/MGridQuantize.h"
#include "midi/quantize/MQuantizeFunctions.h"
#include "midi/smf/MSmfImportCommand.h"
#include "midi/smf/MSmfImporter.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"

namespace {

using namespace vantor;

std::vector<uint8_t> bytesOf(const MProject& project) {
  FMemoryStream stream;
  FObjectArchive archive(stream);
  if (!archive.writeArchive(&project)) __builtin_trap();
  return stream.takeData();
}

void checkPart(const MEventContainer& events) {
  double last = -INFINITY;
  for (const auto& event : events) {
    if (!(event->getStart() >= last) || !(event->getLength() >= 0.0)) __builtin_trap();
    last = event->getStart();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool initialized = (initializeMidi(), true);
  (void)initialized;
  FRef<MRoot> root = MProject::createNew();
  MProject& project = *root->getProject();
  MSmfImporter importer(960.0, project.getTempoNode());
  std::string reason;
  if (!importer.importBytes(data, size, &reason)) {
    if (reason.empty()) __builtin_trap();
    return 0;
  }
  MSmfImport import = importer.takeResult();
  for (const auto& track : import.tracks) {
    for (const auto& placement : *track->getNode()->events()) checkPart(*placement->getNode()->events());
  }
  const std::vector<uint8_t> before = bytesOf(project);
  MQuantizeSettings settings;
  settings.autoQuantize = size % 2 == 0;
  FRef<MCommand> command = makeImportMidiCommand(project, import, 960.0, MGridQuantize(), settings);
  if (!command->perform()) __builtin_trap();
  if (!command->undo() || bytesOf(project) != before) __builtin_trap();
  return 0;
}
